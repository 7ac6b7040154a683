#include <OxTellarProducers/SuiteCapture.h>

#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <OxTellarProducers/OxSgIterator.h>
#include <OxTellarSDK/ErrorHandle.h>

#include "DelegateTables.h"
#include "Question.h"
#include "WrapSuite.h"

namespace TELLAR {

namespace {

using OxAttribute::Attribute;
using OxAttribute::IntAttribute;
using OxCapture::Reader;
using OxCapture::Writer;
using DelegateSuite = OxScenegraphLocationDelegatePluginSuite_v1;

// Questions of captures. Parts of keys are separated by a new line.
constexpr std::string_view kDelegateTypes = "delegate types"; // by renderer: the types of locations
constexpr std::string_view kDelegate = "delegate";            // by type and renderer: 1, or nothing
constexpr std::string_view kReplacement = "replacement";      // by type, renderer and location

/// The layer of the wrapped tables.
struct CaptureLayer;

std::string TextOf(const CallValue& value) {
    const char* const text = value.get<const char*>();
    return text ? text : "";
}

std::string PathOf(OxSgIteratorStruct* location) {
    const auto producer = OxHandleToGeometryProducer(location);
    return producer ? producer->getFullName() : std::string();
}

/// The type and the renderer that getLocationDelegate is called with.
std::string DelegateKey(const SuiteCall& call) {
    return TextOf(call.getArgument(0)) + '\n' + TextOf(call.getArgument(1));
}

/// Hands an error to the caller of a slot that takes one. Null is handed over as well.
void SetError(const SuiteCall& call, OxErrorStruct* error) {
    const int last = call.getArgumentCount() - 1;
    const bool takesError = last >= 0 && call.getArgument(last).getType().role == ValueRole::Error;
    auto* const place = takesError ? call.getArgument(last).get<OxErrorStruct**>() : nullptr;
    if (place)
        *place = error;
    else
        OxReleaseError(error);
}

/// Stands between plug-ins and the suites while a capture is written or read.
class CaptureObserver final : public SuiteCallObserver {
public:
    void record(std::shared_ptr<Writer> newWriter) {
        const std::lock_guard<std::mutex> guard(lock);
        writer = std::move(newWriter);
        reader = nullptr;
    }

    void replay(std::shared_ptr<const Reader> newReader) {
        const std::lock_guard<std::mutex> guard(lock);
        reader = std::move(newReader);
        writer = nullptr;
    }

    void onCall(SuiteCall& call) noexcept override {
        const CurrentQuestion question(call);
        const std::string_view name = call.getSlot().name;
        const bool isAboutDelegates =
            name == "getLocationDelegate" || name == "getLocationTypesWithDelegates";
        if (!isAboutDelegates) return call.proceed();
        try {
            answerAboutDelegates(call, name == "getLocationDelegate");
        } catch (...) {
            SetError(call, OxErrorToHandle(std::current_exception()));
        }
    }

private:
    void answerAboutDelegates(SuiteCall& call, bool isOne) {
        std::shared_ptr<Writer> to;
        std::shared_ptr<const Reader> from;
        {
            const std::lock_guard<std::mutex> guard(lock);
            to = writer;
            from = reader;
        }
        if (from) return isOne ? replayDelegate(call, from) : replayTypes(call, *from);
        call.proceed();
        if (to) isOne ? recordDelegate(call, to) : recordTypes(call, *to);
    }

    static void recordTypes(const SuiteCall& call, Writer& to) {
        auto* const types = call.getResult().get<OxAttributeStruct*>();
        to.add(kDelegateTypes, TextOf(call.getArgument(0)), Attribute::CreateAndRetain(types));
    }

    static void recordDelegate(const SuiteCall& call, const std::shared_ptr<Writer>& to) {
        const std::string key = DelegateKey(call);
        const auto* const next = call.getResult().get<const DelegateSuite*>();
        to->add(kDelegate, key, next ? IntAttribute(1) : Attribute());
        if (!next) return;
        const auto* const table = MakeDelegateTable(
            key, next,
            [next, key, to](OxLocationDelegateInstance instance, OxSgIteratorStruct* location) {
                auto* const replacement = next->getReplacement(instance, location);
                to->add(kReplacement, key + '\n' + PathOf(location),
                        Attribute::CreateAndRetain(replacement));
                return replacement;
            });
        if (table) call.getResult().setPointer(table);
    }

    /// The answer; an error of the call, and a note, when there is none.
    static std::optional<Attribute> find(const SuiteCall& call, const Reader& from,
                                         std::string_view question, const std::string& key) {
        std::optional<Attribute> answer = from.find(question, key);
        OxErrorStruct* error = nullptr;
        if (!answer) {
            ErrorFacts facts;
            facts.code = kOxErrorFile;
            facts.text = from.noteMissing(QuestionText(call));
            facts.file = from.getPath();
            error = OxErrorToHandle(std::move(facts));
        }
        SetError(call, error);
        return answer;
    }

    static void replayTypes(const SuiteCall& call, const Reader& from) {
        auto types = find(call, from, kDelegateTypes, TextOf(call.getArgument(0)));
        if (types) call.getResult().setPointer(types->detach());
    }

    static void replayDelegate(const SuiteCall& call, const std::shared_ptr<const Reader>& from) {
        const std::string key = DelegateKey(call);
        const auto delegate = find(call, *from, kDelegate, key);
        if (!delegate || !delegate->isValid()) return;
        call.getResult().setPointer(MakeDelegateTable(
            key, nullptr, [key, from](OxLocationDelegateInstance, OxSgIteratorStruct* location) {
                const std::string path = PathOf(location);
                auto replacement = from->find(kReplacement, key + '\n' + path);
                if (!replacement) from->noteMissing("getReplacement(\"" + path + "\")");
                return replacement ? replacement->detach() : nullptr;
            }));
    }

    std::mutex lock;
    std::shared_ptr<Writer> writer;
    std::shared_ptr<const Reader> reader;
};

/// The observer of this process, between plug-ins and suites from the first call on.
CaptureObserver& GetObserver() {
    static auto* const observer = [] {
        auto* const made = new CaptureObserver;
        OxPluginManager::AddSuiteFilter([made](const OxPluginManager::SuiteOffer& offer) {
            return WrapHostSuite<CaptureLayer>(offer, *made);
        });
        OxCapture::SetQuestionName(CurrentQuestion::getText);
        return made;
    }();
    return *observer;
}

} // namespace

void RecordDelegates(const std::shared_ptr<Writer>& writer) {
    GetObserver().record(writer);
}

void ReplayDelegates(const std::shared_ptr<const Reader>& reader) {
    GetObserver().replay(reader);
}

} // namespace TELLAR
