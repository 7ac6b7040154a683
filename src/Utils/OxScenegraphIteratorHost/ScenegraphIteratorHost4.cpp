#include "IteratorEntries.h"
#include "OxScenegraphIteratorHost.h"

namespace TELLAR {

namespace ScenegraphIteratorHost4 {

namespace {

Suite MakeSuite() {
    static_assert(sizeof(Suite) == 2 * sizeof(std::uint32_t) + 56 * sizeof(void*));
    Suite suite{};
    suite.size = sizeof suite;
    suite.version = 4;
    FillSceneSlots(suite);      // 0 to 9, and 55
    FillNavigationSlots(suite); // 10 to 22
    FillValueSlots(suite);      // 23 to 30
    FillSubtreeSlots(suite);    // 31 to 41
    FillVisitSlots(suite);      // 42
    FillChangeSlots(suite);     // 43 to 54
    return suite;
}

} // namespace

} // namespace ScenegraphIteratorHost4

const OxScenegraphIteratorHostSuite_v4* GetScenegraphIteratorHostSuite_v4() {
    static const auto suite = ScenegraphIteratorHost4::MakeSuite();
    return &suite;
}

} // namespace TELLAR
