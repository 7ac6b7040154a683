#include <OxTellarSDK/TellarRuntime.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "RunTogether.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::HasSubstr;

namespace {

/// Clients that the type TestNeeds looks through, by name. Filled while nobody cooks.
std::map<std::string, Client>& NeededClients() {
    static auto* const clients = new std::map<std::string, Client>;
    return *clients;
}

/// Holds threads back until as many as it was set to have come; open from then on.
class Meeting {
public:
    void expect(int count) {
        const std::lock_guard<std::mutex> guard(lock);
        missing = count;
    }
    void come() {
        std::unique_lock<std::mutex> guard(lock);
        --missing;
        changed.notify_all();
        changed.wait(guard, [this] { return missing <= 0; });
    }

private:
    std::mutex lock;
    std::condition_variable changed;
    int missing = 0;
};

Meeting& TheMeeting() {
    static auto* const meeting = new Meeting;
    return *meeting;
}

/// The sum of the attribute "value" of /root in the named clients, plus one, after the meeting.
int SumOfNeeded(const GroupAttribute& args) {
    TheMeeting().come();
    int sum = 1;
    for (const std::string& name : StringsOf(StringAttribute(args.getChildByName("needs"))))
        sum += ValueAt(NeededClients().at(name), "/root");
    return sum;
}

const std::string kNeeds = Register("TestNeeds", [](CookContext& context) {
    context.setAttrs(GroupAttribute({Value(SumOfNeeded(context.args()))}, true));
});

/// Needs other locations as TestNeeds does, but while its arguments are prepared.
class PreparedNeeds : public OxOpType::OpType {
public:
    struct Sum : OxOpType::State {
        int value = 0;
    };
    PreparedNeeds() { about.name = "TestPreparedNeeds"; }
    const OxOpType::Description& description() const override { return about; }
    std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute& args,
                                                   std::size_t) const override {
        const auto sum = std::make_shared<Sum>();
        sum->value = SumOfNeeded(args);
        return sum;
    }
    void cook(CookContext& context) const override {
        const int value = static_cast<const Sum*>(context.state())->value;
        context.setAttrs(GroupAttribute({Value(value)}, true));
    }

private:
    OxOpType::Description about;
};
const std::string kPreparedNeeds = [] {
    OxOpType::RegisterOpType(new PreparedNeeds);
    return "TestPreparedNeeds";
}();

/// Makes a client of that name, on a runtime of its own, whose Op has the name as well.
Client AddNeeding(const std::string& type, const std::string& name,
                  const std::vector<std::string>& needs) {
    Graph graph;
    const Op op = graph.op(type, {{"needs", StringAttribute(needs, 1)}}, {}, name);
    return NeededClients()[name] = graph.commit(op);
}

/// Cooks a ring of clients, each of which needs the next one, with a thread for each client.
/// Returns the errors of the threads. All of them have begun to cook before any needs another.
std::vector<std::string> ErrorsOfRing(const std::string& type, int count) {
    for (int i = 0; i < count; ++i)
        AddNeeding(type, "ring" + std::to_string(i), {"ring" + std::to_string((i + 1) % count)});
    TheMeeting().expect(count);
    std::vector<std::string> errors(static_cast<std::size_t>(count));
    RunTogether(count, [&](int number) {
        errors[static_cast<std::size_t>(number)] =
            CookError(NeededClients().at("ring" + std::to_string(number)), "/root");
    });
    NeededClients().clear();
    return errors;
}

} // namespace

class RingOfThreads : public testing::TestWithParam<int> {};

TEST_P(RingOfThreads, GetsErrorsForLocationsThatNeedThemselves) {
    EXPECT_THAT(ErrorsOfRing(kNeeds, GetParam()),
                testing::Each(testing::MatchesRegex(
                    "Op \"ring[0-9]\" .TestNeeds. at \"/root\": the location needs itself")));
}

TEST_P(RingOfThreads, GetsErrorsForPreparationsThatNeedThemselves) {
    EXPECT_THAT(ErrorsOfRing(kPreparedNeeds, GetParam()),
                testing::Each(
                    testing::MatchesRegex("Op \"ring[0-9]\" .TestPreparedNeeds. at \"/root\": the "
                                          "(location|preparation of its arguments) needs itself")));
}

INSTANTIATE_TEST_SUITE_P(RuntimeThreads, RingOfThreads, testing::Values(1, 2, 3, 8));

TEST(RuntimeThreads, ALocationThatNeedsARingGetsAnErrorToo) {
    for (const char* type : {kNeeds.c_str(), kPreparedNeeds.c_str()}) {
        SCOPED_TRACE(type);
        AddNeeding(type, "a", {"b"});
        AddNeeding(type, "b", {"a"});
        const Client outside = AddNeeding(type, "outside", {"a", "b"});
        TheMeeting().expect(3);
        std::vector<std::string> errors(3);
        RunTogether(3, [&](int number) {
            const char* const names[] = {"a", "b", "outside"};
            errors[static_cast<std::size_t>(number)] =
                CookError(NeededClients().at(names[number]), "/root");
        });
        EXPECT_THAT(errors, testing::Each(HasSubstr("needs itself")));
        NeededClients().clear();
    }
}

TEST(RuntimeThreads, ThreadsThatNeedEachOtherGetErrorsOnlyForRings) {
    // Numbers 0 to 19 need two smaller ones each and are sound; 20 to 29 are a ring, each with a
    // sound one; 30 to 39 need one of the ring.
    constexpr int kCount = 40;
    std::mt19937 random(7);
    std::vector<int> expected(kCount, 0); // 0 stands for an error
    TheMeeting().expect(0);
    for (int i = 0; i < kCount; ++i) {
        std::vector<int> needs;
        if (i > 0 && i < 20) needs = {static_cast<int>(random() % static_cast<unsigned>(i)), i - 1};
        if (i >= 20 && i < 30) needs = {i - 20, i == 29 ? 20 : i + 1};
        if (i >= 30) needs = {i - 30, i - 10};
        std::vector<std::string> names;
        if (i < 20) expected[static_cast<std::size_t>(i)] = 1;
        for (const int need : needs) {
            names.push_back(std::to_string(need));
            if (i < 20)
                expected[static_cast<std::size_t>(i)] += expected[static_cast<std::size_t>(need)];
        }
        AddNeeding(i % 2 == 0 ? kNeeds : kPreparedNeeds, std::to_string(i), names);
    }
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        std::mt19937 order(static_cast<unsigned>(number));
        for (int i = 0; i < 200; ++i) {
            const int which = static_cast<int>(order() % kCount);
            const Client& client = NeededClients().at(std::to_string(which));
            const std::string error = CookError(client, "/root");
            if (expected[static_cast<std::size_t>(which)] == 0)
                wrong += error.find("needs itself") == std::string::npos;
            else
                wrong += error != "no error" ||
                         ValueAt(client, "/root") != expected[static_cast<std::size_t>(which)];
            if (order() % 4 == 0) client->getRuntime()->evict("/root");
        }
    });
    EXPECT_EQ(wrong, 0);
    NeededClients().clear();
}
