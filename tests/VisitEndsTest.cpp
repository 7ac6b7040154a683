#include <OxTellarProducers/VisitLocations.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "ErrorOf.h"
#include "Sanitized.h"
#include "VisitScenes.h"

// Visits that are pruned, stopped, cancelled or ended by an exception, at each point.

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::GeometryProducer;
using TELLAR::VisitedLocation;
using TELLAR::VisitEnd;
using TELLAR::VisitLocations;
using TELLAR::VisitOptions;
using TELLAR::VisitWish;

using Ptr = GeometryProducer::Ptr;

/// A tree of about a hundred locations.
class EndedVisit : public AnyVisit {
protected:
    const GroupAttribute ops = OpsOf({11, 6, 4});
    const Lines expected = LinesOf(ops);
    const Ptr root = Open(ops);

    /// Visits until the line `at`, for which the visitor returns the wish.
    VisitEnd visit(const std::string& at, VisitWish wish, SharedLines& lines) const {
        return VisitLocations(root, options(), [&](VisitedLocation& visited) {
            std::string line = LineOf(visited);
            const bool isThere = line == at;
            lines.add(std::move(line));
            return isThere ? wish : VisitWish::GoOn;
        });
    }
};

INSTANTIATE_TEST_SUITE_P(Modes, EndedVisit, testing::ValuesIn(kVisitModes), NameOfMode);

TEST_P(EndedVisit, LeavesOutWhatIsBelowALocationWhereItIsPruned) {
    ASSERT_GT(expected.size(), 50u);
    for (const std::string& at : expected) {
        SCOPED_TRACE(at);
        SharedLines lines;
        EXPECT_EQ(visit(at, VisitWish::Prune, lines), VisitEnd::Done);
        expectLines(lines.get(), Without(expected, at));
    }
}

TEST_P(EndedVisit, EndsWhereItIsStopped) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(expected[i]);
        SharedLines lines;
        EXPECT_EQ(visit(expected[i], VisitWish::Stop, lines), VisitEnd::Stopped);
        const Lines upToThere(expected.begin(),
                              expected.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        if (GetParam().keepsOrder())
            EXPECT_TRUE(lines.get() == upToThere);
        else
            EXPECT_THAT(lines.get(), testing::Contains(expected[i]));
    }
}

TEST_P(EndedVisit, EndsWhenItIsCancelled) {
    for (int allowed = 0; allowed < static_cast<int>(expected.size()); ++allowed) {
        SCOPED_TRACE(allowed);
        std::atomic<int> asked{0};
        std::atomic<int> calls{0};
        VisitOptions cancellable = options();
        cancellable.isCancelled = [&] { return ++asked > allowed; };
        const VisitEnd end = VisitLocations(root, cancellable, [&](VisitedLocation&) {
            ++calls;
            return VisitWish::GoOn;
        });
        EXPECT_EQ(end, VisitEnd::Cancelled);
        EXPECT_LE(calls, allowed);
    }
}

TEST_P(EndedVisit, ThrowsTheExceptionOfTheVisitor) {
    for (const std::string& at : expected) {
        SCOPED_TRACE(at);
        EXPECT_EQ(ErrorOf([&] {
                      VisitLocations(root, options(), [&](VisitedLocation& visited) {
                          if (LineOf(visited) == at) throw std::runtime_error("I give up at " + at);
                          return VisitWish::GoOn;
                      });
                  }),
                  "I give up at " + at);
    }
}

TEST_P(EndedVisit, ThrowsOneOfTheExceptionsOfItsThreads) {
    EXPECT_EQ(ErrorOf([&] {
                  VisitLocations(root, options(), [&](VisitedLocation& visited) -> VisitWish {
                      if (visited.getDepth() < 2) return VisitWish::GoOn;
                      throw std::runtime_error("I give up everywhere");
                  });
              }),
              "I give up everywhere");
}

TEST_P(EndedVisit, ThrowsTheExceptionOfTheQuestionWhetherItIsCancelled) {
    std::atomic<int> asked{0};
    VisitOptions failing = options();
    failing.isCancelled = [&]() -> bool {
        if (++asked < 30) return false;
        throw std::runtime_error("I do not know");
    };
    EXPECT_EQ(ErrorOf([&] {
                  VisitLocations(root, failing, [](VisitedLocation&) { return VisitWish::GoOn; });
              }),
              "I do not know");
}

TEST_P(EndedVisit, LeavesNothingBehindHoweverItEnds) {
    constexpr std::size_t kStep = kSanitized ? 4 : 1;
    for (const VisitWish wish : {VisitWish::Prune, VisitWish::Stop})
        for (std::size_t i = 0; i < expected.size(); i += kStep) {
            SharedLines lines;
            visit(expected[i], wish, lines);
        }
    EXPECT_EQ(root->use_count(), 1u);
}

/// Many prunes, near each other and within each other's reach.
TEST_P(EndedVisit, MayBePrunedEverywhereInRandomTrees) {
    for (int seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        const RandomTree drawn{seed, 5, 2 + seed % 7};
        const auto isPruned = [&](const std::string& line) {
            return Draw(seed, line, "prune") < 0.4;
        };
        Lines left;
        for (const std::string& line : LinesOf(drawn)) {
            const bool isLeftOut =
                std::any_of(left.begin(), left.end(), [&](const std::string& above) {
                    return isPruned(above) && IsBelow(line, above);
                });
            if (!isLeftOut) left.push_back(line);
        }
        SharedLines lines;
        VisitLocations(Open(OpsOf(drawn)), options(), [&](VisitedLocation& visited) {
            lines.add(LineOf(visited));
            return isPruned(LineOf(visited)) ? VisitWish::Prune : VisitWish::GoOn;
        });
        expectLines(lines.get(), left);
    }
}

} // namespace
