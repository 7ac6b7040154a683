#include <OxTellarSDK/TellarError.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/FileStream.h>

#include "TempDirectory.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;

namespace {

ErrorFacts FactsFrom(const std::function<void()>& work) {
    try {
        work();
    } catch (...) {
        return FactsOf(std::current_exception());
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

ErrorFacts CookFacts(const std::string& opType) {
    Graph graph;
    const Client client = graph.commit(graph.op(opType, {}, {}, "maker"));
    return FactsFrom([&] { client->cookLocation("/root/a"); });
}

/// What every error of CookFacts has.
void ExpectPlace(const ErrorFacts& facts, const std::string& opType) {
    EXPECT_EQ(facts.op, "maker");
    EXPECT_EQ(facts.opType, opType);
    EXPECT_EQ(facts.location, "/root/a");
}

} // namespace

TEST(TellarError, HasTheTextOfItsFactsAndSharesThemWithCopies) {
    const TellarError error = TellarError::OfFile("a.oxop", "a.oxop is empty");
    const TellarError copy = error;
    EXPECT_STREQ(copy.what(), "a.oxop is empty");
    EXPECT_EQ(copy.getCode(), kOxErrorFile);
    EXPECT_EQ(&copy.getFacts(), &error.getFacts());
}

TEST(FactsOf, TellsTheFactsOfAnErrorThatIsCaughtAsAnotherType) {
    try {
        throw TellarError::OfAttribute("count", "\"count\" must be above 0");
    } catch (const std::exception& error) {
        EXPECT_EQ(FactsOf(error).code, kOxErrorValue);
        EXPECT_EQ(FactsOf(error).attribute, "count");
        EXPECT_EQ(FactsOf(error).text, "\"count\" must be above 0");
    }
}

TEST(FactsOf, TakesOtherExceptionsForUnknownErrors) {
    const ErrorFacts facts = FactsFrom([] { throw std::logic_error("odd"); });
    EXPECT_EQ(facts.code, kOxErrorUnknown);
    EXPECT_EQ(facts.text, "odd");
    EXPECT_EQ(FactsFrom([] { throw 42; }).text, "something was thrown that is no std::exception");
    EXPECT_EQ(FactsOf(std::exception_ptr()).code, kOxErrorUnknown);
}

TEST(FactsOf, KnowsMissingMemory) {
    EXPECT_EQ(FactsFrom([] { throw std::bad_alloc(); }).code, kOxErrorMemory);
}

TEST(CookErrorFacts, TellOpTypeAndLocation) {
    static const std::string kType =
        Register("TestFactsPlain", [](CookContext&) { throw std::runtime_error("why"); });
    const ErrorFacts facts = CookFacts(kType);
    ExpectPlace(facts, kType);
    EXPECT_EQ(facts.code, kOxErrorCook);
    EXPECT_EQ(facts.text, "Op \"maker\" (TestFactsPlain) at \"/root/a\": why");
    EXPECT_EQ(facts.attribute, "");
    EXPECT_EQ(facts.file, "");
}

TEST(CookErrorFacts, KeepTheKindAndTheFileThatTheOpTypeTold) {
    static const std::string kType = Register(
        "TestFactsFile", [](CookContext&) { throw TellarError::OfFile("a.ply", "no a.ply"); });
    const ErrorFacts facts = CookFacts(kType);
    ExpectPlace(facts, kType);
    EXPECT_EQ(facts.code, kOxErrorFile);
    EXPECT_EQ(facts.file, "a.ply");
    EXPECT_EQ(facts.text, "Op \"maker\" (TestFactsFile) at \"/root/a\": no a.ply");
}

TEST(CookErrorFacts, KeepTheAttributeThatTheOpTypeTold) {
    static const std::string kType = Register("TestFactsAttribute", [](CookContext&) {
        throw TellarError::OfAttribute("size", "\"size\" is odd");
    });
    const ErrorFacts facts = CookFacts(kType);
    ExpectPlace(facts, kType);
    EXPECT_EQ(facts.code, kOxErrorValue);
    EXPECT_EQ(facts.attribute, "size");
}

TEST(CookErrorFacts, KnowMissingMemory) {
    static const std::string kType =
        Register("TestFactsMemory", [](CookContext&) { throw std::bad_alloc(); });
    const ErrorFacts facts = CookFacts(kType);
    EXPECT_EQ(facts.code, kOxErrorMemory);
    EXPECT_EQ(facts.text, "Op \"maker\" (TestFactsMemory) at \"/root/a\": out of memory");
}

TEST(CookErrorFacts, TellAnUnknownOpType) {
    const ErrorFacts facts = CookFacts("NoSuchType");
    ExpectPlace(facts, "NoSuchType");
    EXPECT_EQ(facts.code, kOxErrorCook);
}

TEST(CookErrorFacts, TellTheOpThatFailedAndNotThoseAboveIt) {
    Graph graph;
    const Op failing = graph.op(kThrow, {{"message", StringAttribute("why")}}, {}, "deep");
    const Client client = graph.commit(graph.chain(graph.op(kSum, {}, {failing}), 5));
    EXPECT_EQ(FactsFrom([&] { client->cookLocation("/root"); }).op, "deep");
}

TEST(CookErrorFacts, TellThePlaceOfTheOpAndBeginWithIt) {
    Graph graph;
    const Op unknown = graph.op("NoSuchType", {}, {}, "maker");
    graph.transaction->setOpPlace(unknown, "scene.json:14:5");
    const Client client = graph.commit(unknown);
    EXPECT_EQ(unknown->getPlace(), "scene.json:14:5");
    const ErrorFacts facts = FactsFrom([&] { client->cookLocation("/root/a"); });
    EXPECT_EQ(facts.opPlace, "scene.json:14:5");
    EXPECT_EQ(facts.text,
              "scene.json:14:5: Op \"maker\" (NoSuchType) at \"/root/a\": there is no op "
              "type of this name");
    EXPECT_EQ(CookFacts("NoSuchType").opPlace, "");
}

TEST(CookErrorFacts, TellThePlaceOfTheOpThatWasAskedAndNotOfAnEqualOne) {
    static const std::string kType = Register("TestFactsPlaces", [](CookContext& context) {
        if (context.path() == "/root/bad") throw std::runtime_error("why");
        context.setAttrs(GroupAttribute(true));
    });
    const auto open = [](const std::string& place) {
        Graph graph;
        const Op maker = graph.op(kType, {}, {}, "maker");
        graph.transaction->setOpPlace(maker, place);
        return graph.commit(graph.chain(maker, 2));
    };
    const Client first = open("a.json:1:1");
    const Client second = open("b.json:2:2");
    EXPECT_EQ(first->getOp()->getIdentity(), second->getOp()->getIdentity());
    const auto placeOf = [](const Client& client) {
        return FactsFrom([&] { client->cookLocation("/root/bad"); }).opPlace;
    };
    EXPECT_EQ(placeOf(first), "a.json:1:1");
    EXPECT_EQ(placeOf(second), "b.json:2:2");
    EXPECT_EQ(placeOf(first), "a.json:1:1");
    first->cookLocation("/root/good");
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    second->cookLocation("/root/good");
    EXPECT_EQ(TellarRuntime::getNumberOfCooks(), cooks);
}

TEST(PrepareErrors, NameTheOpAndNoLocation) {
    Graph graph;
    const Op unknown = graph.op("NoSuchType", {}, {}, "maker");
    graph.commit(unknown);
    const ErrorFacts facts = FactsFrom([&] { unknown->prepare(); });
    EXPECT_EQ(facts.op, "maker");
    EXPECT_EQ(facts.location, "");
    EXPECT_EQ(facts.text, "Op \"maker\" (NoSuchType): there is no op type of this name");
}

TEST(PrepareErrors, IncludeWhatTheOpTypeRefuses) {
    class Choosy final : public OxOpType::OpType {
    public:
        Choosy() { about.name = "TestChoosy"; }
        const OxOpType::Description& description() const override { return about; }
        std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute& args,
                                                       std::size_t) const override {
            if (args.getNumberOfChildren() > 0)
                throw TellarError::OfAttribute("size", "no size is taken");
            return nullptr;
        }
        void cook(CookContext&) const override {}

    private:
        OxOpType::Description about;
    };
    static const Choosy type;
    OxOpType::RegisterOpType(&type);
    Graph graph;
    const Op wrong = graph.op("TestChoosy", {{"size", IntAttribute(1)}}, {}, "wrong");
    const Op right = graph.op("TestChoosy");
    graph.commit(right);
    EXPECT_NO_THROW(right->prepare());
    const ErrorFacts facts = FactsFrom([&] { wrong->prepare(); });
    EXPECT_EQ(facts.text, "Op \"wrong\" (TestChoosy): no size is taken");
    EXPECT_EQ(facts.attribute, "size");
}

TEST(FileErrorFacts, NameAMissingFile) {
    const ErrorFacts facts = FactsFrom([] { FileStream("/no/such.oxop", true); });
    EXPECT_EQ(facts.code, kOxErrorFile);
    EXPECT_EQ(facts.file, "/no/such.oxop");
}

TEST(FileErrorFacts, NameAFileThatIsNoOpFile) {
    const TempDirectory folder;
    const std::string path = folder.write("plain.oxop", "only text");
    const ErrorFacts facts = FactsFrom([&] { ReadOpFile(path); });
    EXPECT_EQ(facts.code, kOxErrorFile);
    EXPECT_EQ(facts.file, path);
}

TEST(FileErrorFacts, NameADamagedAttributeStream) {
    const TempDirectory folder;
    const std::string path = folder.path("a.oxattr");
    WriteAttributeFile(path, StringAttribute("a value of some length"));
    std::string bytes = folder.read("a.oxattr");
    bytes[bytes.find("value")] ^= 1;
    folder.write("a.oxattr", bytes);
    const ErrorFacts facts = FactsFrom([&] {
        FileStream file(path, true);
        Attribute::readAttributeStream(&file, &FileStream::read, 0);
    });
    EXPECT_EQ(facts.code, kOxErrorFile);
    EXPECT_EQ(facts.file, path);
}

TEST(FileErrorFacts, NameAWrongDescription) {
    const TempDirectory folder;
    const std::string path = folder.write("a.json", "{\"ops\": []}");
    const ErrorFacts facts = FactsFrom([&] { ReadDescriptionJsonFile(path); });
    EXPECT_EQ(facts.code, kOxErrorFile);
    EXPECT_EQ(facts.file, path);
}

TEST(FileErrorFacts, NameTheOpThatCannotBeWritten) {
    const TempDirectory folder;
    const GroupAttribute untyped({{"maker", GroupAttribute(true)}}, true);
    const ErrorFacts facts = FactsFrom([&] { WriteOpFile(folder.path("a.oxop"), untyped); });
    EXPECT_EQ(facts.op, "maker");
    EXPECT_EQ(facts.file, folder.path("a.oxop"));
}

TEST(FileErrorFacts, NameAFileThatCannotBeWritten) {
    const std::string path = "/no/such/folder/a.oxattr";
    const ErrorFacts facts = FactsFrom([&] { WriteAttributeFile(path, StringAttribute("a")); });
    EXPECT_EQ(facts.code, kOxErrorFile);
    EXPECT_EQ(facts.file, path);
}
