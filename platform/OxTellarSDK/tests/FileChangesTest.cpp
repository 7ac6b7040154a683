// Mapped files that other programs cut short or write to while they are read, and the handler of
// bus errors beside those of the host.
#include <OxTellarSDK/AttributeStream.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/FileStream.h>

#include "ErrorOf.h"
#include "OpenFiles.h"
#include "RunTogether.h"
#include "Sanitized.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using testing::AnyOf;

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
#define EXPECT_ALL_IN_OWN_PROCESS(body) EXPECT_EXIT(std::exit(body), testing::ExitedWithCode(0), "")

int CountFalse(std::initializer_list<bool> conditions) {
    int count = 0;
    for (const bool condition : conditions)
        count += !condition;
    return count;
}

} // namespace

TEST_F(MappedFiles, AValueOfAFileThatIsCutShortHasZerosAndOthersAreRefused) {
    const GroupAttribute value(Opened(path));
    ASSERT_TRUE(IsMapped(path));
    const Attribute numbers = value.getChildByName("leaf7.numbers");
    const double sum = SumOf(numbers);
    std::filesystem::resize_file(path, 0);
    EXPECT_LT(SumOf(numbers), sum);
    const std::string text = "File \"" + path + "\" ";
    const auto refused =
        AnyOf(text + "can no longer be read: it has become shorter since it was opened",
              text + "has changed since it was opened");
    for (const char* name : {"leaf0.numbers", "leaf7.texts", "leaf7.numbers", "leaf119.more.i"})
        EXPECT_THAT(ErrorOf([&] { GroupAttribute(value).getChildByName(name); }), refused) << name;
    EXPECT_THAT(ErrorOf([&] { GroupAttribute(value).getTextView("leaf7.texts"); }), refused);
}

TEST_F(MappedFiles, AFileThatIsCutShortDoesNotDisturbAnother) {
    const std::string other = folder.path("other.oxa");
    WriteAttributeFile(other, Leaves(5));
    const GroupAttribute lost(Opened(path)), kept(Opened(other));
    const Attribute numbers = lost.getChildByName("leaf7.numbers");
    std::filesystem::resize_file(path, 0);
    SumOf(numbers);
    EXPECT_EQ(kept, Leaves(5));
}

TEST_F(MappedFiles, ATouchedFileIsStillReadAndAnOverwrittenOneIsNot) {
    const GroupAttribute value(Opened(path));
    std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() +
                                               std::chrono::hours(1));
    EXPECT_EQ(value.getChildByName("leaf9"), Leaves(1).getChildByName("leaf9"));
    std::fstream(path, std::ios::in | std::ios::out | std::ios::binary)
        << std::string(5 << 20, 'x');
    EXPECT_EQ(ErrorOf([&] { value.getChildByName("leaf70.numbers"); }),
              "File \"" + path + "\" has changed since it was opened");
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
        std::filesystem::resize_file(path, 0);
        SumOf(numbers);
        const int forFile = hostSignals;
        const char byte = page.read();
        const int forPage = hostSignals;
        raise(SIGBUS);
        return CountFalse({forFile == 0, byte == 0, forPage == 1, hostSignals == 2});
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
        std::filesystem::resize_file(path, 0);
        SumOf(numbers);
        const int forFile = hostSignals;
        const char byte = page.read();
        return CountFalse({forFile == 0, byte == 0, hostSignals == 1});
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
        std::filesystem::resize_file(path, 0);
        SumOf(numbers);
        return CountFalse({HasHandler(), second == Leaves(5)});
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
        std::filesystem::resize_file(path, 0);
        return CountFalse({IsOpen(path), !IsMapped(path), !HasHandler(), SumOf(numbers) == sum});
    }());
}

// Changes beside readers --------------------------------------------------------------------------

namespace {

/// Reads all that there is; the values may be wrong.
double Walk(const Attribute& value) {
    if (value.getType() == kAttributeTypeDouble) return SumOf(value);
    double sum = 0;
    for (const std::string_view text : StringAttribute(value).getNearestSample(0))
        for (const char character : text)
            sum += character;
    const GroupAttribute group(value);
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        sum +=
            static_cast<double>(group.getChildNameView(i).size()) + Walk(group.getChildByIndex(i));
    return sum;
}

using Random = std::mt19937;

void CutShort(const std::string& path, Random& random) {
    std::filesystem::resize_file(path, random() % std::filesystem::file_size(path));
}

void ReplaceInPlace(const std::string& path, Random& random) {
    std::filesystem::resize_file(path, 0);
    std::ofstream(path, std::ios::binary) << std::string(random() % (8 << 20), 'x');
}

/// Other bytes, some of them from the file itself, in a part of it.
void Overwrite(const std::string& path, Random& random) {
    const std::uint64_t bytes = std::filesystem::file_size(path);
    std::string noise(1 + random() % (1 << 20), '\0');
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    if (random() % 2) {
        file.seekg(static_cast<std::streamoff>(random() % bytes / 8 * 8));
        file.read(noise.data(), static_cast<std::streamsize>(noise.size()));
        file.clear();
    } else {
        for (char& byte : noise)
            byte = static_cast<char>(random());
    }
    for (int i = 0; i < 4; ++i) {
        file.seekp(static_cast<std::streamoff>(random() % bytes / 8 * 8));
        file.write(noise.data(), static_cast<std::streamsize>(noise.size()));
    }
}

void ReplaceByAnother(const std::string& path, Random& random) {
    WriteAttributeFile(path, Leaves(random() % 100));
}

} // namespace

TEST_F(MappedFiles, AreWalkedByThreadsWhileTheyAreCutShortOverwrittenOrReplaced) {
    const std::function<void(const std::string&, Random&)> changes[] = {
        CutShort, ReplaceInPlace, Overwrite, ReplaceByAnother};
    Random random(1);
    int refused = 0;
    for (int round = 0; round < (TellarTest::kSanitized ? 24 : 120); ++round) {
        WriteAttributeFile(path, Leaves(round));
        const GroupAttribute value(Opened(path));
        std::atomic<int> errors{0}, others{0};
        std::thread other([&, pause = random() % 2000] {
            std::this_thread::sleep_for(std::chrono::microseconds(pause));
            changes[round % 4](path, random);
        });
        RunTogether(2, [&](int) {
            for (int pass = 0; pass < 2; ++pass)
                try {
                    Walk(value);
                } catch (const std::exception& error) {
                    ++(std::string(error.what()).find(path) == std::string::npos ? others : errors);
                }
        });
        other.join();
        ASSERT_EQ(others, 0);
        refused += errors > 0;
    }
    EXPECT_GT(refused, 0);
}
