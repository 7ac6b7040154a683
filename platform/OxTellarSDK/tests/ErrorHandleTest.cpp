#include <OxTellarSDK/ErrorHandle.h>

#include <cstdint>
#include <exception>
#include <new>
#include <stdexcept>

#include <gtest/gtest.h>

#include "ErrorEntry.h"

namespace {

/// A table with its size and version, as plug-ins see it.
struct NumbersSuite {
    std::uint32_t size;
    std::uint32_t version;
    const int* (*getNumber)(const int* number, OxErrorStruct** error);
    std::int64_t (*countNumbers)(const int* number, OxErrorStruct** error);
    const int* (*getDamagedNumber)(const int* number, OxErrorStruct** error);
    const int* (*getNumberQuietly)(const int* number);
};

void Throw(int number) {
    if (number == 1) throw TellarError::OfFile("a.ply", "no a.ply");
    if (number == 2) throw std::bad_alloc();
    if (number == 3) throw 3;
    if (number == 4) throw std::runtime_error("odd");
}

const NumbersSuite& Numbers() {
    static const NumbersSuite suite = [] {
        NumbersSuite table{sizeof(NumbersSuite), 4, nullptr, nullptr, nullptr, nullptr};
        TELLAR_SET_ERROR_ENTRY(table, 0, getNumber, [](const int* number) {
            Throw(*TELLAR::NotNull(number, "number"));
            return number;
        });
        TELLAR_SET_ERROR_ENTRY(table, 1, countNumbers, [](const int* number) -> std::int64_t {
            Throw(*TELLAR::NotNull(number, "number"));
            return 1;
        });
        TELLAR_SET_ERROR_ENTRY(table, 2, getDamagedNumber,
                               [](const int* number, OxErrorStruct*& error) {
                                   error = OxErrorToHandle(ErrorFacts{kOxErrorCook, "damaged", "op",
                                                                      "Type", "/root", "a", "b"});
                                   Throw(*number);
                                   return number;
                               });
        TELLAR_SET_SILENT_ENTRY(table, 3, getNumberQuietly, [](const int* number) {
            Throw(*number);
            return number;
        });
        return table;
    }();
    return suite;
}

/// Calls `slot` and releases its error.
template <typename Slot, typename Check>
auto CallWith(Slot slot, const int* number, Check check) {
    // A value that is no handle: an entry has to replace it, whatever happens.
    auto* error = reinterpret_cast<OxErrorStruct*>(std::uintptr_t{1});
    const auto result = slot(number, &error);
    check(error, OxHandleToErrorFacts(error));
    OxReleaseError(error);
    return result;
}

TEST(ErrorHandle, HasTheFactsItWasMadeFrom) {
    OxErrorStruct* const error =
        OxErrorToHandle(ErrorFacts{kOxErrorCook, "text", "op", "Type", "/root/a",
                                   "geometry.point.P", "a.ply", "scene.json:14:5"});
    EXPECT_STREQ(OxHandleToErrorPlace(error), "scene.json:14:5");
    EXPECT_STREQ(OxHandleToErrorPlace(nullptr), "");
    const OxErrorFacts facts = OxHandleToErrorFacts(error);
    EXPECT_EQ(facts.code, kOxErrorCook);
    EXPECT_STREQ(facts.text, "text");
    EXPECT_STREQ(facts.op, "op");
    EXPECT_STREQ(facts.opType, "Type");
    EXPECT_STREQ(facts.location, "/root/a");
    EXPECT_STREQ(facts.attribute, "geometry.point.P");
    EXPECT_STREQ(facts.file, "a.ply");
    OxReleaseError(error);
}

TEST(ErrorHandle, LivesUntilItsLastReferenceIsReleased) {
    OxErrorStruct* const error =
        OxErrorToHandle(std::make_exception_ptr(std::runtime_error("a text that is not short")));
    OxRetainError(error);
    OxReleaseError(error);
    EXPECT_STREQ(OxHandleToErrorFacts(error).text, "a text that is not short");
    OxReleaseError(error);
}

TEST(ErrorHandle, TakesNull) {
    OxRetainError(nullptr);
    OxReleaseError(nullptr);
    const OxErrorFacts facts = OxHandleToErrorFacts(nullptr);
    EXPECT_EQ(facts.code, 0);
    EXPECT_STREQ(facts.text, "");
    EXPECT_STREQ(facts.file, "");
}

TEST(ErrorEntry, AssignsNullWhenItSucceeds) {
    const int number = 0;
    EXPECT_EQ(
        CallWith(Numbers().getNumber, &number,
                 [](OxErrorStruct* error, const OxErrorFacts&) { EXPECT_EQ(error, nullptr); }),
        &number);
    EXPECT_EQ(Numbers().getNumber(&number, nullptr), &number);
}

TEST(ErrorEntry, TurnsExceptionsIntoErrors) {
    const auto expect = [](int number, OxErrorCode code, const char* text, const char* file) {
        const auto check = [&](OxErrorStruct*, const OxErrorFacts& facts) {
            EXPECT_EQ(facts.code, code);
            EXPECT_STREQ(facts.text, text);
            EXPECT_STREQ(facts.file, file);
        };
        EXPECT_EQ(CallWith(Numbers().getNumber, &number, check), nullptr);
        EXPECT_EQ(CallWith(Numbers().countNumbers, &number, check), -1);
        EXPECT_EQ(Numbers().getNumber(&number, nullptr), nullptr);
    };
    expect(1, kOxErrorFile, "no a.ply", "a.ply");
    expect(2, kOxErrorMemory, "std::bad_alloc", "");
    expect(3, kOxErrorUnknown, "something was thrown that is no std::exception", "");
    expect(4, kOxErrorUnknown, "odd", "");
}

TEST(ErrorEntry, NamesTheSlotAndTheArgumentOfABadCall) {
    const auto check = [](OxErrorStruct*, const OxErrorFacts& facts) {
        EXPECT_EQ(facts.code, kOxErrorBadCall);
        EXPECT_STREQ(facts.text, "countNumbers: number is null");
        EXPECT_STREQ(facts.attribute, "number");
    };
    EXPECT_EQ(CallWith(Numbers().countNumbers, nullptr, check), -1);
}

TEST(ErrorEntry, CanReturnAResultAndAnError) {
    const int number = 0;
    EXPECT_EQ(CallWith(Numbers().getDamagedNumber, &number,
                       [](OxErrorStruct*, const OxErrorFacts& facts) {
                           EXPECT_STREQ(facts.text, "damaged");
                       }),
              &number);
    EXPECT_EQ(Numbers().getDamagedNumber(&number, nullptr), &number);
}

TEST(ErrorEntry, ReplacesAnErrorWhenTheBodyThrowsAfterIt) {
    const int number = 4;
    EXPECT_EQ(CallWith(Numbers().getDamagedNumber, &number,
                       [](OxErrorStruct*, const OxErrorFacts& facts) {
                           EXPECT_STREQ(facts.text, "odd");
                       }),
              nullptr);
}

TEST(SilentEntry, GivesNullForAnException) {
    const int sound = 0;
    const int thrown = 3;
    EXPECT_EQ(Numbers().getNumberQuietly(&sound), &sound);
    EXPECT_EQ(Numbers().getNumberQuietly(&thrown), nullptr);
}

} // namespace
