// Cooks any op-tree description and calls all getters of the C suites on the scene, in three walks:
// the second one evicts and cooks every location again, the third one uses the cache. All walks
// must get the same answers. Compares the scene with what its Ops tell of it without a cook.

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarProducers/OxSgIterator.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "Check.h"
#include "DescriptionText.h"
#include "FactsCheck.h"
#include "SuiteWalk.h"

using namespace OxAttribute;
using TELLAR::GeometryProducer;

namespace {

// Every location is asked for each name several times, so the number of names is limited.
constexpr std::size_t kMaxNames = 8;

// An Array op with a very large count is valid but slow.
constexpr int kMaxGroupSize = 2000;

/// Unusual names and paths.
std::vector<std::string> OddNames() {
    return {"",
            ".",
            "..",
            "../..",
            "a..b",
            ".a",
            "/",
            "//",
            "/root/",
            "/root//a",
            "./.",
            "\xff\xfe",
            "%ARCH%ARCH",
            "${HOME}/####$",
            std::string(5000, 'a'),
            std::string(3000, '/'),
            std::string(3000, '.')};
}

/// The texts and names in a description, which may be names of locations and attributes.
void CollectNames(const Attribute& value, std::set<std::string>& names) {
    for (const std::string_view text : StringAttribute(value).getNearestSample(0.0f))
        names.emplace(text);
    const GroupAttribute group(value);
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
        names.insert(group.getChildName(i));
        CollectNames(group.getChildByIndex(i), names);
    }
}

/// Appends as many of `all` as fit, selected by the bits of `choice`.
void Choose(const std::vector<std::string>& all, std::uint64_t choice,
            std::vector<std::string>& names) {
    const std::size_t count = std::min(all.size(), kMaxNames / 2);
    for (std::size_t i = 0; i < count; ++i)
        names.push_back(all[(choice + i) % all.size()]);
}

std::vector<std::string> NamesToAskFor(const GroupAttribute& description, std::uint64_t choice) {
    std::set<std::string> all;
    CollectNames(description, all);
    std::vector<std::string> names;
    Choose({all.begin(), all.end()}, choice, names);
    Choose(OddNames(), choice / 256, names);
    return names;
}

bool IsAffordable(const GroupAttribute& description) {
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const GroupAttribute entry(description.getChildByIndex(i));
        const IntAttribute size(entry.getChildByName("opArgs.groupSize"));
        if (size.getValue(0, false) > kMaxGroupSize) return false;
    }
    return true;
}

std::shared_ptr<TellarRuntime::Client> ClientOf(const GroupAttribute& description) {
    const auto source = TELLAR::OpTreeSource::createFromGroupAttribute(description);
    const auto runtime = TellarRuntime::create();
    const auto transaction = runtime->createTransaction();
    const auto op = source.getOp(transaction);
    if (!op) return nullptr;
    const auto client = transaction->createClient();
    transaction->setClientOp(client, op);
    runtime->commit(transaction);
    return client;
}

template <typename Suite>
std::uint64_t Walk(const Suite& suite, const GeometryProducer::Ptr& root,
                   const std::vector<std::string>& names, bool evict) {
    TELLAR::ClearCameraInfoCache();
    TELLAR::EmptyFlattenedMaterialCache();
    OxSgIteratorStruct* const handle = TELLAR::OxGeometryProducerToHandle(root);
    suite.retainIterator(handle);
    const std::uint64_t digest = WalkThroughSuites(suite, handle, names, evict);
    suite.releaseIterator(handle);
    return digest;
}

void UseRuntime(const GroupAttribute& description, const std::vector<std::string>& names) {
    const auto client = ClientOf(description);
    if (!client) return;
    CheckFacts(client);
    const auto root = TELLAR::CreateSyncGeometryProducer(client, "/root");
    if (!root) return;
    const std::uint64_t digest = Walk(IteratorSuiteVersion3(), root, names, false);
    Check(Walk(IteratorSuiteVersion2(), root, names, true) == digest,
          "a scene computed anew is the same");
    const auto cached = TELLAR::CreateAsyncGeometryProducer(client, "/root");
    Check(cached != nullptr, "a location that was cooked is in the cache");
    Check(Walk(IteratorSuiteVersion3(), cached, names, false) == digest,
          "the cache has all that was cooked");
}

/// Opens the scene as a plug-in does, with a runtime per thread that outlives the call.
void UseThreadAware(const GroupAttribute& description, const std::vector<std::string>& names) {
    const auto& suite = IteratorSuiteVersion3();
    OxSgIteratorStruct* const root =
        suite.createRootIteratorFromOpTreeDescription(description.getHandle());
    if (!root) return;
    WalkThroughSuites(suite, root, names, false);
    suite.finalizeRuntime(root);
    suite.releaseIterator(root);
}

/// Opens the arguments of an op as a static scene without a runtime.
void UseStatic(const GroupAttribute& args, const std::vector<std::string>& names) {
    const auto root = TELLAR::CreateStaticGeometryProducer("/root", args, nullptr);
    if (root) Walk(IteratorSuiteVersion3(), root, names, false);
}

template <typename Use>
void Try(Use use) {
    try {
        use();
    } catch (const std::runtime_error&) {
        // the expected error for an invalid description
    }
}

void SilenceMessages() {
    static const bool isSilent = [] {
        OxLoggingSetSink([](const OxLogMessage&) {});
        std::cerr.setstate(std::ios::failbit);
        return true;
    }();
    (void)isSilent;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SilenceMessages();
    const GroupAttribute description =
        ReadDescriptionText({reinterpret_cast<const char*>(data), size});
    if (!description.isValid() || !IsAffordable(description)) return 0;
    const std::uint64_t choice = description.getHash().uint64();
    const std::vector<std::string> names = NamesToAskFor(description, choice);
    Try([&] { UseRuntime(description, names); });
    // Only for some inputs, because thread-aware clients live as long as the process.
    if (choice % 16 == 0) UseThreadAware(description, names);
    const GroupAttribute first(description.getChildByIndex(0));
    Try([&] { UseStatic(GroupAttribute(first.getChildByName("opArgs")), names); });
    return 0;
}
