// Mapped files that other programs cut short or write to while they are read, and the handler of
// bus errors beside those of the host.
#include <OxTellarSDK/AttributeStream.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/FileStream.h>

#include "OpenFiles.h"
#include "Sanitized.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"

using namespace OxAttribute;

namespace {

constexpr int kLeaves = 120;
constexpr int kNumbers = 6000; // doubles of a leaf: 48 kB

Attribute Opened(const std::string& path) {
    FileStream stream(path, true);
    return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
}

/// 6 MB in leaves of numbers, strings and a group.
GroupAttribute Leaves(double first) {
    std::vector<GroupAttribute::Child> children;
    for (int i = 0; i < kLeaves; ++i) {
        std::vector<double> numbers(kNumbers);
        for (int j = 0; j < kNumbers; ++j)
            numbers[static_cast<std::size_t>(j)] = first + i * kNumbers + j;
        const std::string name = "leaf" + std::to_string(i);
        children.emplace_back(
            name, GroupAttribute({{"numbers", DoubleAttribute(numbers, 3)},
                                  {"texts", StringAttribute({name, "text", "another " + name}, 1)},
                                  {"more", GroupAttribute({{"i", IntAttribute(i)}}, true)}},
                                 true));
    }
    return GroupAttribute(children, true);
}

double SumOf(const Attribute& numbers) {
    double sum = 0;
    for (const double number : DoubleAttribute(numbers).getNearestSample(0))
        sum += number;
    return sum;
}

/// Files of more than 4 MiB are mapped while it lives.
class MappedFiles : public testing::Test {
protected:
    MappedFiles() : path(folder.path("large.oxa")) {
        mapAbove.emplace("OX_CONFIG_MAP_FILES_ABOVE", "4");
        Config()->reload();
        WriteAttributeFile(path, Leaves(1));
    }
    ~MappedFiles() override {
        mapAbove.reset();
        Config()->reload();
    }

    std::optional<ScopedEnvironment> mapAbove;
    TempDirectory folder;
    std::string path;
};

/// A page of a file that is gone, which belongs to no library: whoever reads it gets SIGBUS.
class LostPage {
public:
    explicit LostPage(const TempDirectory& folder) {
        const std::string path = folder.write("host", std::string(4096, 'x'));
        const int descriptor = open(path.c_str(), O_RDONLY);
        page = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE, descriptor, 0);
        close(descriptor);
        std::filesystem::resize_file(path, 0);
    }
    ~LostPage() { munmap(page, 4096); }
    LostPage(const LostPage&) = delete;
    LostPage& operator=(const LostPage&) = delete;

    char read() const { return *static_cast<const volatile char*>(page); }
    void* address() const { return page; }

private:
    void* page;
};

void* hostPage = nullptr;
std::atomic<int> hostSignals{0};
struct sigaction beforeHost {};

void PutAPageThere() {
    mmap(hostPage, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
}

/// A host's handler, for addresses of its own.
void OnHostSignal(int) {
    ++hostSignals;
    if (hostPage) PutAPageThere();
}

/// A host's handler that passes on what is not for it.
void OnHostSignalElseBefore(int signal, siginfo_t* info, void* context) {
    if (info->si_addr != hostPage) return beforeHost.sa_sigaction(signal, info, context);
    ++hostSignals;
    PutAPageThere();
}

void InstallSimple(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigaction(SIGBUS, &action, nullptr);
}

bool HasHandler() {
    struct sigaction action {};
    sigaction(SIGBUS, nullptr, &action);
    return (action.sa_flags & SA_SIGINFO) != 0 || action.sa_handler != SIG_DFL;
}

/// Runs in a process of its own, which ends with the number of conditions that did not hold.
#define EXPECT_ALL_IN_OWN_PROCESS(body) EXPECT_EXIT(body, testing::ExitedWithCode(0), "")

/// Ends the process without closing the file, of which most is gone.
[[noreturn]] void EndWith(std::initializer_list<bool> conditions) {
    int count = 0;
    for (const bool condition : conditions)
        count += !condition;
    std::_Exit(count);
}

/// Takes away the second half of the numbers of leaf 7 and all that follows.
void CutShort(const std::string& path) {
    std::filesystem::resize_file(path, 365000);
}

} // namespace

TEST_F(MappedFiles, AValueOfAFileThatIsCutShortHasZeros) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_ALL_IN_OWN_PROCESS([&] {
        const GroupAttribute value(Opened(path));
        const Attribute numbers = value.getChildByName("leaf7.numbers");
        const double sum = SumOf(numbers);
        CutShort(path);
        const double rest = SumOf(numbers);
        EndWith({IsMapped(path), rest > 0, rest < sum,
                 DoubleAttribute(numbers).getNumberOfValues() == kNumbers});
    }());
}

TEST_F(MappedFiles, AFileIsStillReadWhenItsTimeHasChanged) {
    const GroupAttribute value(Opened(path));
    std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() +
                                               std::chrono::hours(1));
    EXPECT_EQ(value.getChildByName("leaf9"), Leaves(1).getChildByName("leaf9"));
}

// The host's handlers -----------------------------------------------------------------------------

TEST_F(MappedFiles, ABusErrorElsewhereEndsTheProcessAsBefore) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const GroupAttribute value(Opened(path));
    const LostPage page(folder);
    if (TellarTest::kSanitized)
        EXPECT_DEATH(page.read(), "");
    else
        EXPECT_EXIT(page.read(), testing::KilledBySignal(SIGBUS), "");
}

TEST_F(MappedFiles, ASignalThatIsSentEndsTheProcessAsBefore) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const GroupAttribute value(Opened(path));
    if (TellarTest::kSanitized)
        EXPECT_DEATH(raise(SIGBUS), "");
    else
        EXPECT_EXIT(raise(SIGBUS), testing::KilledBySignal(SIGBUS), "");
}

TEST_F(MappedFiles, AHandlerThatWasThereBeforeGetsAllOtherBusErrors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_ALL_IN_OWN_PROCESS([&] {
        const LostPage page(folder);
        hostPage = page.address();
        InstallSimple(&OnHostSignal);
        const GroupAttribute value(Opened(path));
        const Attribute numbers = value.getChildByName("leaf7.numbers");
        CutShort(path);
        SumOf(numbers);
        const int forFile = hostSignals;
        const char byte = page.read();
        const int forPage = hostSignals;
        raise(SIGBUS);
        EndWith({forFile == 0, byte == 0, forPage == 1, hostSignals == 2});
    }());
}

TEST_F(MappedFiles, AHandlerThatIsInstalledLaterAndPassesOnLeavesOursWorking) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_ALL_IN_OWN_PROCESS([&] {
        const GroupAttribute value(Opened(path));
        const LostPage page(folder);
        hostPage = page.address();
        struct sigaction action {};
        action.sa_sigaction = &OnHostSignalElseBefore;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGBUS, &action, &beforeHost);
        const Attribute numbers = value.getChildByName("leaf7.numbers");
        CutShort(path);
        SumOf(numbers);
        const int forFile = hostSignals;
        const char byte = page.read();
        EndWith({forFile == 0, byte == 0, hostSignals == 1});
    }());
}

TEST_F(MappedFiles, TheNextFileThatIsMappedInstallsTheHandlerAgainWhereTheHostTookItAway) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_ALL_IN_OWN_PROCESS([&] {
        const GroupAttribute first(Opened(path));
        InstallSimple(SIG_DFL);
        const std::string other = folder.path("other.oxa");
        WriteAttributeFile(other, Leaves(5));
        const GroupAttribute second(Opened(other));
        const Attribute numbers = first.getChildByName("leaf7.numbers");
        CutShort(path);
        SumOf(numbers);
        EndWith({HasHandler(), second == Leaves(5)});
    }());
}

TEST_F(MappedFiles, NothingIsMappedAndNoHandlerInstalledWhereTheConfigurationForbidsIt) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_ALL_IN_OWN_PROCESS([&] {
        InstallSimple(SIG_DFL); // a sanitizer has one of its own
        const ScopedEnvironment off("OX_CONFIG_HANDLE_BUS_ERRORS", "0");
        Config()->reload();
        const GroupAttribute value(Opened(path));
        const Attribute numbers = value.getChildByName("leaf7.numbers");
        const double sum = SumOf(numbers);
        CutShort(path);
        EndWith({IsOpen(path), !IsMapped(path), !HasHandler(), SumOf(numbers) == sum});
    }());
}
