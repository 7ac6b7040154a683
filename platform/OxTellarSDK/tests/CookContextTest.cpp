#include <OxTellarSDK/OpType.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::ElementsAre;

namespace {

/// Runs a script of calls on the context: p(ass), a(ttributes), c(hildren), n(ote),
/// A and C (invalid ones), P (pass nothing).
const std::string kScript = Register("TestScript", [](CookContext& context) {
    for (const char call : Text(context.args(), "script")) {
        if (call == 'p') context.pass(context.input(0));
        if (call == 'P') context.pass(LocationData());
        if (call == 'a') context.setAttrs(GroupAttribute({{"own", IntAttribute(1)}}, true));
        if (call == 'A') context.setAttrs(GroupAttribute());
        if (call == 'c') context.setPotentialChildren(StringAttribute({"own"}, 1));
        if (call == 'C') context.setPotentialChildren(StringAttribute());
        if (call == 'n') context.setNote(IntAttribute(1));
    }
});

class ScriptedCook {
public:
    explicit ScriptedCook(const std::string& script) {
        const Op source = graph.op(kSource, {{"children", StringAttribute({"below"}, 1)}});
        below = graph.client(source);
        above = graph.commit(graph.op(kScript, {{"script", StringAttribute(script)}}, {source}));
        before = below->cookLocation("/root");
        attrs = before.getAttrs();
        data = above->cookLocation("/root");
    }

    std::string attrNames() const {
        std::string names;
        for (std::int64_t i = 0; i < data.getAttrs().getNumberOfChildren(); ++i)
            names += data.getAttrs().getChildName(i) + ' ';
        return names;
    }
    std::vector<std::string> children() const { return StringsOf(data.getPotentialChildren()); }
    bool inputIsUnchanged() const {
        const LocationData now = below->cookLocation("/root");
        return now.getRecord() == before.getRecord() && now.getAttrs() == attrs &&
               StringsOf(now.getPotentialChildren()) == std::vector<std::string>{"below"};
    }

    Graph graph;
    Client below, above;
    LocationData before, data;
    GroupAttribute attrs;
};

} // namespace

TEST(CookContext, WhatIsSetAfterAPassChangesACopy) {
    const ScriptedCook cook("pa");
    EXPECT_EQ(cook.attrNames(), "own ");
    EXPECT_THAT(cook.children(), ElementsAre("below"));
    EXPECT_TRUE(cook.inputIsUnchanged());
    EXPECT_THAT(ScriptedCook("pc").children(), ElementsAre("own"));
    EXPECT_EQ(ScriptedCook("pc").attrNames(), "path value ");
}

TEST(CookContext, APassReplacesWhatWasSetBefore) {
    const ScriptedCook cook("acp");
    EXPECT_EQ(cook.data.getRecord(), cook.before.getRecord());
    EXPECT_TRUE(cook.inputIsUnchanged());
}

TEST(CookContext, WhatIsSetAfterASecondPassChangesACopyToo) {
    const ScriptedCook cook("apc");
    EXPECT_THAT(cook.children(), ElementsAre("own"));
    EXPECT_EQ(cook.attrNames(), "path value ");
    EXPECT_TRUE(cook.inputIsUnchanged());
    EXPECT_TRUE(ScriptedCook("npa").inputIsUnchanged());
    EXPECT_TRUE(ScriptedCook("papan").inputIsUnchanged());
}

TEST(CookContext, NamesOfChildrenMayBeSetFirstOrLastAndMoreThanOnce) {
    for (const char* const script : {"ac", "ca", "aCc", "cac", "acnc"}) {
        SCOPED_TRACE(script);
        const ScriptedCook cook(script);
        EXPECT_EQ(cook.attrNames(), "own ");
        EXPECT_THAT(cook.children(), ElementsAre("own"));
        EXPECT_TRUE(cook.data.doesLocationExist());
        EXPECT_EQ(cook.data.getHash(), ScriptedCook("ac").data.getHash());
    }
    for (const char* const script : {"acC", "caC", "CacC", "pcaC"}) {
        SCOPED_TRACE(script);
        const ScriptedCook cook(script);
        EXPECT_EQ(cook.attrNames(), "own ");
        EXPECT_FALSE(cook.data.getPotentialChildren().isValid());
        EXPECT_EQ(cook.data.getHash(), ScriptedCook("a").data.getHash());
    }
}

TEST(CookContext, InvalidAttributesMeanNone) {
    const ScriptedCook cook("pAC");
    EXPECT_TRUE(cook.data.doesLocationExist());
    EXPECT_FALSE(cook.data.getAttrs().isValid());
    EXPECT_FALSE(cook.data.getPotentialChildren().isValid());
    EXPECT_TRUE(cook.inputIsUnchanged());
    EXPECT_TRUE(ScriptedCook("A").data.doesLocationExist());
    EXPECT_TRUE(ScriptedCook("C").data.doesLocationExist());
}

TEST(CookContext, PassingNothingMakesNoLocation) {
    EXPECT_FALSE(ScriptedCook("P").data.doesLocationExist());
    EXPECT_FALSE(ScriptedCook("pP").data.doesLocationExist());
    EXPECT_FALSE(ScriptedCook("").data.doesLocationExist());
    EXPECT_TRUE(ScriptedCook("").data.isValid());
}

TEST(CookContext, ANoteChangesNothingThatOthersSee) {
    const ScriptedCook cook("pn");
    EXPECT_EQ(cook.attrNames(), "path value ");
    EXPECT_TRUE(cook.data.doesLocationExist());
    EXPECT_TRUE(cook.inputIsUnchanged());
}

namespace {

/// Notes the location's path, and shows its parent's note as the attribute "parent".
void ShowParentNote(CookContext& context) {
    const StringAttribute note(context.parentNote());
    context.setAttrs(
        GroupAttribute({{"parent", StringAttribute(note.getValue("none", false))}}, true));
}
const std::string kNoting = Register("TestNoting", [](CookContext& context) {
    ShowParentNote(context);
    context.setNote(StringAttribute(context.path()));
});
const std::string kNotingFirst = Register("TestNotingFirst", [](CookContext& context) {
    context.setNote(StringAttribute(context.path()));
    ShowParentNote(context);
    context.setPotentialChildren(StringAttribute({"a", "b"}, 1));
});
/// Passes on "/root/a"; elsewhere shows its parent's note. Notes nothing itself.
const std::string kReadingNotes = Register("TestReadingNotes", [](CookContext& context) {
    if (context.path() == "/root/a") return context.pass(context.input(0));
    ShowParentNote(context);
});

std::string ParentNote(const Client& client, const std::string& path) {
    return Text(client->cookLocation(path).getAttrs(), "parent");
}

} // namespace

TEST(CookContext, TheNoteOfTheParentIsAtHandOnceItIsCooked) {
    Graph graph;
    const Client client = graph.commit(graph.op(kNoting));
    EXPECT_EQ(ParentNote(client, "/root/early"), "none");
    EXPECT_EQ(ParentNote(client, "/root"), "none");
    EXPECT_EQ(ParentNote(client, "/root/late"), "/root");
    EXPECT_EQ(ParentNote(client, "/root/late/x"), "/root/late");
}

TEST(CookContext, ANoteStaysWhenNamesOfChildrenFollow) {
    Graph graph;
    const Client client = graph.commit(graph.op(kNotingFirst));
    EXPECT_EQ(ParentNote(client, "/root"), "none");
    EXPECT_EQ(ParentNote(client, "/root/a"), "/root");
    EXPECT_EQ(ParentNote(client, "/root/a/b"), "/root/a");
}

TEST(CookContext, TheNoteOfAnotherOpIsNotShown) {
    Graph graph;
    const Client client = graph.commit(graph.op(kReadingNotes, {}, {graph.op(kNoting)}));
    EXPECT_EQ(ParentNote(client, "/root/a"), "none"); // unchanged from the input
    EXPECT_EQ(ParentNote(client, "/root/a/b"), "none");
}

namespace {

/// Shows the name of the location, and its path afterwards unless the name is "silent".
const std::string kNamed = Register("TestNamed", [](CookContext& context) {
    std::vector<GroupAttribute::Child> attrs{{"name", StringAttribute(context.name())}};
    if (context.name() != "silent") {
        attrs.emplace_back("path", StringAttribute(context.path()));
        attrs.emplace_back("again", StringAttribute(context.path()));
    }
    context.setAttrs(GroupAttribute(attrs, true));
    context.setPotentialChildren(StringAttribute({"silent", "a name of more than 24 bytes"}, 1));
});

} // namespace

TEST(CookContext, KnowsTheNameOfTheLocationWithoutItsPath) {
    Graph graph;
    const Client client = graph.commit(graph.op(kNamed));
    const LocationData root = client->cookLocation("/root");
    EXPECT_EQ(Text(root.getAttrs(), "name"), "root");
    const LocationData silent = client->cookChild(root, 0);
    EXPECT_EQ(Text(silent.getAttrs(), "name"), "silent");
    const LocationData below = client->cookChild(silent, 1);
    EXPECT_EQ(Text(below.getAttrs(), "name"), "a name of more than 24 bytes");
    EXPECT_EQ(Text(below.getAttrs(), "path"), "/root/silent/a name of more than 24 bytes");
    EXPECT_EQ(Text(below.getAttrs(), "again"), "/root/silent/a name of more than 24 bytes");
}

// Args and states prepared once

namespace {

struct CountedState : OxOpType::State {
    explicit CountedState(int value) : value(value) {}
    int value;
};

class PreparingType : public OxOpType::OpType {
public:
    PreparingType() { about.name = "TestPreparing"; }
    const OxOpType::Description& description() const override { return about; }
    std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute& args,
                                                   std::size_t inputs) const override {
        ++Counter::of("prepare " + Text(args, "counter"));
        if (Number(args, "fail") != 0) throw std::runtime_error("argument \"fail\" is set");
        if (Number(args, "failOddly") != 0) throw 7;
        if (Number(args, "value") == 0) return nullptr;
        return std::make_shared<CountedState>(Number(args, "value") + static_cast<int>(inputs));
    }
    void cook(CookContext& context) const override {
        const auto* const state = static_cast<const CountedState*>(context.state());
        context.setAttrs(
            GroupAttribute({{"value", IntAttribute(state ? state->value : -1)}}, true));
    }

private:
    OxOpType::Description about;
};

const std::string& Preparing() {
    static const std::string* const name = [] {
        RegisterOpType(new PreparingType);
        return new std::string("TestPreparing");
    }();
    return *name;
}

} // namespace

TEST(OpTypePrepare, RunsOnceForAllOpsOfOneIdentity) {
    for (int i = 0; i < 3; ++i) {
        static std::vector<Client> kept;
        Graph graph;
        const Op source = graph.op(kSource);
        kept.push_back(
            graph.commit(graph.op(Preparing(), {Counted("one"), Value(5)}, {source, nullptr})));
        EXPECT_EQ(ValueAt(kept.back(), "/root"), 7);
        EXPECT_EQ(ValueAt(kept.back(), "/root/" + std::to_string(i)), 7);
        if (i == 2) kept.clear();
    }
    EXPECT_EQ(Counter::take("prepare one"), 1);
}

TEST(OpTypePrepare, MayReturnNothingAndIsStillRunOnce) {
    Graph graph;
    const Client client = graph.commit(graph.op(Preparing(), {Counted("null")}));
    EXPECT_EQ(ValueAt(client, "/root"), -1);
    EXPECT_EQ(ValueAt(client, "/root/a"), -1);
    EXPECT_EQ(Counter::take("prepare null"), 1);
}

TEST(OpTypePrepare, MayGetInvalidArguments) {
    Graph graph;
    const Op op = graph.transaction->createOp();
    graph.transaction->setOpArgs(op, Preparing(), GroupAttribute());
    EXPECT_EQ(ValueAt(graph.commit(op), "/root"), -1);
}

TEST(OpTypePrepare, ItsErrorNamesTheOpAndTheLocation) {
    Graph graph;
    const Client client =
        graph.commit(graph.op(Preparing(), {{"fail", IntAttribute(1)}}, {}, "broken"));
    EXPECT_EQ(CookError(client, "/root"),
              "Op \"broken\" (TestPreparing) at \"/root\": argument \"fail\" is set");
    EXPECT_EQ(CookError(client, "/root/a"),
              "Op \"broken\" (TestPreparing) at \"/root/a\": argument \"fail\" is set");
    Graph odd;
    const Client other =
        odd.commit(odd.op(Preparing(), {{"failOddly", IntAttribute(1)}}, {}, "odd"));
    EXPECT_EQ(CookError(other, "/root"), "Op \"odd\" (TestPreparing) at \"/root\": it threw "
                                         "something that is no std::exception");
}

// Op types

TEST(OpTypes, AreFoundByNameAndListedInOrder) {
    const OxOpType::OpType* const type = OxOpType::FindOpType(kPass);
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->description().name, "TestPass");
    EXPECT_EQ(OxOpType::FindOpType("NoSuchType"), nullptr);
    EXPECT_EQ(OxOpType::FindOpType(""), nullptr);
    std::vector<std::string> names;
    for (const OxOpType::Description* known : OxOpType::GetDescriptions())
        names.push_back(known->name);
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_THAT(names, testing::Contains("TestPass"));
}

TEST(OpTypes, AreRegisteredOncePerName) {
    FunctionType second(
        kPass, [](CookContext&) {}, 1);
    EXPECT_THROW(OxOpType::RegisterOpType(&second), std::invalid_argument);
    EXPECT_NE(OxOpType::FindOpType(kPass), &second);
}
