// Slots of version 4 of the suites that ask a producer which throws wherever it is asked.

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

#include <functional>
#include <set>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include <OxTellarSDK/TellarError.h>

#include "CapturedLog.h"
#include "IteratorScenes4.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::StringAttribute;

class ThrowingProducer : public TELLAR::GeometryProducer {
public:
    explicit ThrowingProducer(std::function<void()> throwIt)
        : GeometryProducer(nullptr), throwIt(std::move(throwIt)) {}
    void getAttributeNames(std::set<std::string>*) override { throwIt(); }
    StringAttribute getPotentialChildren() override { return fail<StringAttribute>(); }
    Attribute getAttribute(const char*) override { return fail<Attribute>(); }
    std::string getName() override { return fail<std::string>(); }
    std::string getFullName() override { return fail<std::string>(); }
    std::string getHash() override { return fail<std::string>(); }
    Ptr getChildByName(const char*, bool) override { return fail<Ptr>(); }
    Ptr getFirstChild(bool) override { return fail<Ptr>(); }
    Ptr getNextSibling(bool) override { return fail<Ptr>(); }
    std::shared_ptr<TellarRuntime::Client> getClient() override {
        return fail<std::shared_ptr<TellarRuntime::Client>>();
    }

private:
    template <typename Result>
    Result fail() const {
        throwIt();
        return {};
    }

    const std::function<void()> throwIt;
};

/// Calls every slot that asks a location, and checks the code and the text of its error.
void ExpectFromEverySlot(const std::function<void()>& throwIt, OxErrorCode code,
                         const std::string& text) {
    const CapturedLog log;
    const At at = At::of(new ThrowingProducer(throwIt));
    OxSgIteratorStruct* const location = at.get();
    CallError error;
    const auto expect = [&](bool isFailedResult, const char* slot) {
        EXPECT_TRUE(isFailedResult) << slot;
        EXPECT_EQ(error.code(), code) << slot;
        EXPECT_EQ(error.text(), text) << slot;
    };
    const OxScenegraphIteratorHostSuite_v4& scenes = Scenes4();
    expect(!scenes.getFirstChild(location, error.out()), "getFirstChild");
    expect(!scenes.getChildByName(location, "a", error.out()), "getChildByName");
    expect(!scenes.getProducerByPath(location, "/root/a", error.out()), "getProducerByPath");
    expect(!scenes.getChild(location, 0, error.out()), "getChild");
    expect(!scenes.getAttribute(location, "a", error.out()), "getAttribute");
    expect(!scenes.getGlobalAttribute(location, "a", error.out()), "getGlobalAttribute");
    expect(!scenes.getAttributeNames(location, error.out()), "getAttributeNames");
    expect(!scenes.getGlobalXFormGroup(location, error.out()), "getGlobalXFormGroup");
    expect(!scenes.getPotentialChildren(location, error.out()), "getPotentialChildren");
    OxSubtree subtree;
    expect(!scenes.getSubtree(location, &subtree, error.out()), "getSubtree");
    expect(!scenes.getInstances(location, error.out()), "getInstances");
    const auto goOn = [](OxVisit*, void*) { return std::int32_t{kOxVisitGoOn}; };
    expect(scenes.visit(location, nullptr, goOn, nullptr, error.out()) == kOxVisitFailed, "visit");

    const OxRenderOutputUtilsHostSuite_v4& utils = Utils4();
    const char* const terminals[] = {"surface"};
    double matrix[16];
    expect(!utils.getWorldMatrix(location, 0, matrix, error.out()), "getWorldMatrix");
    expect(!utils.getLocalMatrix(location, 0, matrix, error.out()), "getLocalMatrix");
    expect(utils.getTransformTimes(location, nullptr, 0, error.out()) == -1, "getTransformTimes");
    expect(!utils.getCameraPath(location, error.out()), "getCameraPath");
    expect(!utils.getCameraInfo(location, "/root/c", error.out()), "getCameraInfo");
    expect(utils.getPixelAreaThroughCamera(location, "/root/c", "square_512", error.out()) == -1,
           "getPixelAreaThroughCamera");
    expect(!utils.getRenderResolution(location, nullptr, nullptr, error.out()),
           "getRenderResolution");
    expect(!utils.getTilePath(location, "/a", error.out()), "getTilePath");
    expect(!utils.getTempRenderLocation(location, "a", 0, error.out()), "getTempRenderLocation");
    expect(!utils.getFlattenedMaterialAttr(location, terminals, 1, error.out()),
           "getFlattenedMaterialAttr");
    expect(!utils.getMaterials(location, error.out()), "getMaterials");
    expect(!utils.getShadingNetworkNodes(location, error.out()), "getShadingNetworkNodes");
    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

TEST(ThrowingProducers4, GiveErrorsWithTheirFacts) {
    ExpectFromEverySlot([] { throw TellarError::OfFile("a.ply", "no a.ply"); }, kOxErrorFile,
                        "no a.ply");
    ExpectFromEverySlot([] { throw std::runtime_error("It fails."); }, kOxErrorUnknown,
                        "It fails.");
    ExpectFromEverySlot([] { throw std::bad_alloc(); }, kOxErrorMemory, "std::bad_alloc");
    ExpectFromEverySlot([] { throw 7; }, kOxErrorUnknown,
                        "something was thrown that is no std::exception");
}

TEST(ThrowingProducers4, GiveNothingInSlotsWithoutErrors) {
    const CapturedLog log;
    const auto throwIt = [] { throw std::runtime_error("It fails."); };
    const At location = At::of(new ThrowingProducer(throwIt));
    const At other = At::of(new ThrowingProducer(throwIt));
    std::int64_t length = -1;
    for (const auto slot : {Scenes4().getName, Scenes4().getFullName, Scenes4().getType}) {
        EXPECT_EQ(slot(location.get(), &length), nullptr);
        EXPECT_EQ(length, 0);
    }
    EXPECT_EQ(Scenes4().getNumberOfChildren(location.get()), 0);
    EXPECT_EQ(Scenes4().getChildName(location.get(), 0, &length), nullptr);
    std::uint64_t words[2] = {1, 1};
    Scenes4().getContentHash(location.get(), words);
    EXPECT_THAT(words, testing::ElementsAre(0, 0));
    EXPECT_EQ(Scenes4().isSame(location.get(), other.get()), 0);
    Scenes4().finalizeRuntime(location.get());
    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

} // namespace
