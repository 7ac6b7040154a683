#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include <gtest/gtest.h>

namespace {

TEST(OxTellarServicesHost, MakesANewRuntimeOnEveryCall) {
    const OxTellarServicesHost host;
    const auto first = host.createRuntime();
    const auto second = host.createRuntime();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second);
}

TEST(OxTellarServicesHost, LetsAHostMakeTheRuntimes) {
    const auto mine = TellarRuntime::create();
    OxTellarServicesHost::SetRuntimeFactory([mine] { return mine; });
    EXPECT_EQ(OxTellarServicesHost().createRuntime(), mine);
    OxTellarServicesHost::SetRuntimeFactory({});
    EXPECT_NE(OxTellarServicesHost().createRuntime(), mine);
}

TEST(OxTellarServicesHost, KeepsAPublishedRuntimeUntilItsNameIsClearedOrTakenOver) {
    const auto first = TellarRuntime::create();
    const auto second = TellarRuntime::create();
    EXPECT_EQ(OxTellarServicesHost::GetRuntimeInstance("renderRuntime"), nullptr);
    OxTellarServicesHost::RegisterRuntimeInstance(first, "renderRuntime");
    EXPECT_EQ(OxTellarServicesHost::GetRuntimeInstance("renderRuntime"), first);
    OxTellarServicesHost::RegisterRuntimeInstance(second, "renderRuntime");
    EXPECT_EQ(OxTellarServicesHost::GetRuntimeInstance("renderRuntime"), second);
    OxTellarServicesHost::RegisterRuntimeInstance(nullptr, "renderRuntime");
    EXPECT_EQ(OxTellarServicesHost::GetRuntimeInstance("renderRuntime"), nullptr);
}

} // namespace
