#include <OxTellarProducers/OxTellarProducersInitialize.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "SuiteHandles.h"

namespace {

using namespace TellarTest;
using testing::ElementsAre;

constexpr const char* kLogger = "ScenegraphIteratorHost";

struct Registration {
    const void* suite;
    std::string name;
    unsigned int version;
    friend bool operator==(const Registration& a, const Registration& b) {
        return a.suite == b.suite && a.name == b.name && a.version == b.version;
    }
};
std::vector<Registration> registrations;
std::vector<int> statuses; // the answers of the host, in order

int Register(const void* suite, const char* name, unsigned int version) {
    registrations.push_back({suite, name, version});
    return registrations.size() <= statuses.size() ? statuses[registrations.size() - 1] : 0;
}

/// A host record of another program. The library must not look at the first ten members.
struct OtherHost {
    const void* others[10];
    int (*registerSuite)(const void*, const char*, unsigned int);
};

int InitializeWith(const OtherHost& host) {
    registrations.clear();
    return OxTellarProducersInitialize(
        reinterpret_cast<OxPluginHost*>(const_cast<OtherHost*>(&host)));
}

OtherHost HostThatAnswers(const std::vector<int>& answers) {
    statuses = answers;
    OtherHost host{};
    host.registerSuite = Register;
    return host;
}

TEST(Initialize, RegistersAllSuitesInOrder) {
    InitializeWith(HostThatAnswers({}));
    const char* const utils = "RenderOutputUtilsHost";
    EXPECT_THAT(registrations, ElementsAre(Registration{Host()->getSuite(kLogger, 3), kLogger, 3},
                                           Registration{Host()->getSuite(kLogger, 2), kLogger, 2},
                                           Registration{Host()->getSuite(utils, 3), utils, 3},
                                           Registration{Host()->getSuite(kLogger, 4), kLogger, 4},
                                           Registration{Host()->getSuite(utils, 4), utils, 4}));
}

TEST(Initialize, GoesOnAfterAFailureAndReturnsTheStatusOfTheThird) {
    EXPECT_EQ(InitializeWith(HostThatAnswers({7, 6, 5, 4, 3})), 5);
    EXPECT_EQ(registrations.size(), 5u);
    EXPECT_EQ(InitializeWith(HostThatAnswers({7, 6, 0, 4, 3})), 0);
}

TEST(Initialize, RegistersTheSameTablesEveryTime) {
    InitializeWith(HostThatAnswers({}));
    const auto first = registrations;
    InitializeWith(HostThatAnswers({}));
    EXPECT_EQ(registrations, first);
}

TEST(Initialize, DoesNothingWithoutAHost) {
    EXPECT_EQ(OxTellarProducersInitialize(nullptr), -1);
    EXPECT_EQ(InitializeWith(OtherHost{}), -1);
}

TEST(Initialize, HasANumberToLinkTo) {
    EXPECT_EQ(_tellar3_dummy_dll_export, 0);
}

} // namespace
