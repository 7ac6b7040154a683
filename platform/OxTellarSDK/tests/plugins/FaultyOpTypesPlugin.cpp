// Op-type plug-ins with one fault each, and behind them sound ones of both versions for C++.
#include <OxTellarSDK/OpType.h>

#include "Thrown.h"

namespace {

using OxOpType::CookContext;
using OxOpType::Description;
using OxOpType::OpType;

class NamedType : public OpType {
public:
    explicit NamedType(const char* name) { about.name = name; }
    const Description& description() const override { return about; }
    void cook(CookContext&) const override {}

private:
    Description about;
};

// Tells nothing about itself.
class DumbType : public NamedType {
public:
    using NamedType::NamedType;
    const Description& description() const override { ThrowNumber(""); }
};

// Tells about itself once, and throws from then on.
class FickleType : public NamedType {
public:
    using NamedType::NamedType;
    const Description& description() const override {
        if (wasAsked) ThrowSilent("");
        wasAsked = true;
        return NamedType::description();
    }

private:
    mutable bool wasAsked = false;
};

// Looks for other types, and for itself, whenever it is asked.
class AskingType : public NamedType {
public:
    using NamedType::NamedType;
    const Description& description() const override {
        if (OxOpType::FindOpType("TestAsking")) ThrowText("it is known already");
        if (!OxOpType::FindOpType("TestSound")) ThrowText("TestSound is not known");
        return NamedType::description();
    }
};

class SoundType : public NamedType {
public:
    using NamedType::NamedType;
    void cook(CookContext& context) const override {
        if (context.path() == "/silent") ThrowSilent("");
        context.setAttrs(OxAttribute::GroupAttribute(true));
    }
};

// Changes nothing anywhere.
class UntouchedType : public SoundType {
public:
    using SoundType::SoundType;
    OxLocationPath::LocationSet touchedBy(const OxAttribute::GroupAttribute&,
                                          const OxAttribute::GroupAttribute&) const override {
        return {};
    }
    OxLocationPath::LocationSet touchedThrough(const OxAttribute::GroupAttribute&, std::size_t,
                                               const OxLocationPath::LocationSet&) const override {
        return {};
    }
};

template <typename Type, const char* Name>
const OpType* Get() {
    static const Type type(Name);
    return &type;
}

constexpr char kDumb[] = "TestDumb";
constexpr char kNone[] = "";
constexpr char kFickle[] = "TestFickle";
constexpr char kAsking[] = "TestAsking";
constexpr char kSound[] = "TestSound";
constexpr char kOfVersion1[] = "TestOfVersion1";
constexpr char kOfVersion3[] = "TestOfVersion3";

const OpType* GetNull() {
    return nullptr;
}
const OpType* ThrowSilentForType() {
    ThrowSilent("");
}
const OpType* ThrowNumberForType() {
    ThrowNumber("");
}
const void* ThrowForSuite() {
    ThrowText("no suite today");
}
const void* GetNullSuite() {
    return nullptr;
}

template <const OpType* (*GetOpType)(), typename Suite = OxOpTypePluginSuite_v1>
const void* GetSuite() {
    static constexpr Suite suite = {GetOpType};
    return &suite;
}

constexpr OxPluginRecord_v1 Record(const char* name, const void* (*getSuite)(),
                                   unsigned int version = 1) {
    return {
        OX_PLUGIN_RECORD_VERSION, name, "TellarOpType", version, 1, 0, getSuite, nullptr, nullptr};
}

const OxPluginRecord_v1 records[] = {
    Record("null suite", GetNullSuite),
    Record("throwing suite", ThrowForSuite),
    Record("no function", GetSuite<nullptr>),
    Record("no type", GetSuite<GetNull>),
    Record("throwing type", GetSuite<ThrowSilentForType>),
    Record("number type", GetSuite<ThrowNumberForType>),
    Record("number description", GetSuite<Get<DumbType, kDumb>>),
    Record("no name", GetSuite<Get<NamedType, kNone>>),
    Record("fickle", GetSuite<Get<FickleType, kFickle>>),
    Record("asking", GetSuite<Get<AskingType, kAsking>>),
    Record("sound", GetSuite<Get<SoundType, kSound>>),
    Record("second", GetSuite<Get<NamedType, kSound>>),
    Record("of version 1", GetSuite<Get<UntouchedType, kOfVersion1>>),
    Record("of version 3", GetSuite<Get<UntouchedType, kOfVersion3>, OxOpTypePluginSuite_v3>, 3),
};

} // namespace

unsigned int OxGetPluginCount() {
    return sizeof records / sizeof records[0];
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return &records[index];
}
