/* The op type "UnsoundFacts", which tells something wrong about its locations: what the environment
   variable TELLAR_TEST_FAULT names. It passes its input on, with its argument "n" as an attribute
   of /root and /root/world. */

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/LocationSet.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/OxPluginApi.h>
#include <OxTellarSDK/SubtreeFacts.h>

namespace {

using OxAttribute::GroupAttribute;
using OxLocationPath::LocationSet;

bool IsFault(const char* name) {
    const char* const fault = std::getenv("TELLAR_TEST_FAULT");
    return fault && std::string(fault) == name;
}

/// One instance, whose matrix is zero.
class WrongInstances final : public OxOpType::Instances {
public:
    std::int64_t count() const override { return 1; }
    const std::vector<std::string>& prototypes() const override { return names; }

protected:
    void readRange(std::int64_t, std::int64_t, std::int64_t* prototypes,
                   double* matrices) const override {
        if (prototypes) *prototypes = 0;
        for (int i = 0; matrices && i < 16; ++i)
            matrices[i] = 0;
    }
    std::string pathOf(std::int64_t) const override { return names.front(); }

private:
    const std::vector<std::string> names{"geo"};
};

class UnsoundFacts final : public OxOpType::OpType {
public:
    UnsoundFacts() {
        about.name = "UnsoundFacts";
        about.summary = "Tells something wrong.";
        about.arguments = {{"n", "int", "Any number. Default: none."}};
        about.inputs = "one";
    }

    const OxOpType::Description& description() const override { return about; }

    void cook(OxOpType::CookContext& context) const override {
        const TellarRuntime::LocationData data = context.input(0);
        context.pass(data);
        if (!data.doesLocationExist()) return;
        if (context.path() != "/root" && context.path() != "/root/world") return;
        OxAttribute::GroupBuilder attributes;
        attributes.update(data.getAttrs());
        attributes.set("n", context.args().getChildByName("n"));
        if (IsFault("forget what it reads"))
            attributes.set("ball", context.input(0, "/root/world/geo/ball").getAttrs());
        context.setAttrs(attributes.build());
    }

    LocationSet touchedBy(const GroupAttribute&, const GroupAttribute&) const override {
        if (IsFault("forget a location")) return LocationSet::exactly({"/root"});
        return LocationSet::exactly({"/root", "/root/world"});
    }

    LocationSet touchedThrough(const GroupAttribute&, std::size_t,
                               const LocationSet& changed) const override {
        return IsFault("forget the input") ? LocationSet() : changed;
    }

    OxOpType::SubtreeFacts describeSubtree(OxOpType::SubtreeContext& context) const override {
        OxOpType::SubtreeFacts facts;
        if (IsFault("wrong existence")) facts.exists = true;
        if (IsFault("wrong number")) facts.locations = 3;
        if (IsFault("wrong types")) facts.types = OxOpType::kTypeCamera;
        if (IsFault("wrong bound")) facts.bound = OxXFormUtil::Bounds();
        if (IsFault("wrong identity")) facts.identity = OxAttribute::Hash{{1, 1}};
        (void)context;
        return facts;
    }

    std::shared_ptr<const OxOpType::Instances>
    describeInstances(OxOpType::InstanceContext& context) const override {
        if (!IsFault("wrong matrix") || context.path() != "/root/world") return nullptr;
        return std::make_shared<WrongInstances>();
    }

private:
    OxOpType::Description about;
};

const OxOpType::OpType* GetOpType() {
    static const auto* const type = new UnsoundFacts; // lives to the end of the process
    return type;
}

const void* GetSuite() {
    static constexpr OxOpTypePluginSuite_v3 suite = {GetOpType};
    return &suite;
}

constexpr OxPluginRecord_v1 kRecord = {OX_PLUGIN_RECORD_VERSION,
                                       "UnsoundFacts",
                                       OxOpType::kPluginApiName,
                                       OxOpType::kPluginApiVersion,
                                       1,
                                       0,
                                       GetSuite,
                                       nullptr,
                                       nullptr};

} // namespace

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &kRecord : nullptr;
}
