#ifndef TELLAR_TEST_DRAWNARGUMENTS_H
#define TELLAR_TEST_DRAWNARGUMENTS_H

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <boost/algorithm/string/join.hpp>

#include "SceneBuilders.h"

/// Random arguments of procedurals, for the assets that ProceduralFixture.h sets up.
namespace TellarTest {

/// Values at times -1, 0.25 and 1. The second sample is the nearest to the frame.
template <typename T>
std::map<float, std::vector<T>> Sampled(const std::vector<T>& before, const std::vector<T>& nearest,
                                        const std::vector<T>& after) {
    return {{-1.0f, before}, {0.25f, nearest}, {1.0f, after}};
}

/// Arguments and the results that are expected of both builders.
struct DrawnArguments {
    Children given;
    Children resolved; // arguments for the builder of attributes, without hidden ones
    std::string flags; // arguments for the classic builder
    std::vector<std::string> complaints;
};

class Draw {
public:
    Draw(unsigned int seed, int frame) : engine(seed), frame(std::to_string(frame)) {}

    DrawnArguments arguments(int depth = 0) {
        DrawnArguments drawn;
        std::set<std::string> names;
        for (int count = below(6); count > 0; --count) {
            const std::string name = pick<std::string>(
                {"a", "size", "extraArgs", "extraArgs2", "__hidden", "extra", "frame", "b.c"});
            if (names.insert(name).second) add(name, depth, drawn);
        }
        return drawn;
    }

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(engine); }
    template <typename T>
    T pick(const std::vector<T>& from) {
        return from[static_cast<std::size_t>(below(static_cast<int>(from.size())))];
    }

private:
    /// A number, and its text as a stream writes it.
    struct Number {
        double value;
        const char* text;
    };
    /// A reference to an asset, and its resolved path up to the frame.
    struct Reference {
        const char* text;
        const char* asset; // null: it stays as it is
        bool isBad;
    };

    void add(const std::string& name, int depth, DrawnArguments& drawn) {
        switch (below(depth < 2 ? 6 : 5)) {
        case 0:
            return addNumbers<std::int32_t>(name, {{0, "0"}, {-7, "-7"}, {1234567, "1234567"}},
                                            drawn);
        case 1:
            return addNumbers<float>(name, {{0.5, "0.5"}, {-2, "-2"}, {1234567, "1.23457e+06"}},
                                     drawn);
        case 2:
            return addNumbers<double>(name, {{0.1, "0.1"}, {1e-7, "1e-07"}, {3, "3"}}, drawn);
        case 3:
            return addTexts(name, drawn);
        case 4:
            return addUnchanged(name, OxAttribute::NullAttribute(), drawn);
        default:
            const DrawnArguments inner = arguments(depth + 1);
            drawn.given.emplace_back(name, OxAttribute::GroupAttribute(inner.given, below(2) == 0));
            if (!isHidden(name)) drawn.resolved.emplace_back(name, Group(inner.resolved));
        }
    }

    template <typename T>
    void addNumbers(const std::string& name, const std::vector<Number>& from,
                    DrawnArguments& drawn) {
        std::vector<T> nearest;
        for (int count = below(4); count > 0; --count) {
            const Number number = pick(from);
            if (nearest.empty()) drawn.flags += " -" + name;
            drawn.flags += std::string(" ") + number.text;
            nearest.push_back(static_cast<T>(number.value));
        }
        const std::vector<T> others(nearest.size(), T(99));
        using Numbers = OxAttribute::NumericAttribute<T>;
        addUnchanged(name,
                     below(2) ? Numbers(nearest, 1) : Numbers(Sampled(others, nearest, others), 1),
                     drawn);
    }

    void addTexts(const std::string& name, DrawnArguments& drawn) {
        std::vector<std::string> nearest, resolved, flags;
        const bool isExtra = name.compare(0, 9, "extraArgs") == 0;
        for (int count = below(4); count > 0; --count) {
            const auto reference = pick<Reference>({{"plain", nullptr, false},
                                                    {"two words", nullptr, false},
                                                    {"asset:x", "/assets/x.", false},
                                                    {"bad", nullptr, true}});
            nearest.emplace_back(reference.text);
            resolved.push_back(reference.asset ? reference.asset + frame : reference.text);
            flags.push_back(resolved.back() + (reference.asset ? "!" : ""));
            if (!reference.isBad || (isExtra && flags.size() > 1)) continue;
            drawn.complaints.push_back(
                isExtra ? "asset resolve failed on 'bad' when building an procedural."
                        : "asset resolve failed on  'bad' when building an procedural call.");
        }
        const std::vector<std::string> others(nearest.size(), "other");
        drawn.given.emplace_back(
            name, below(2) ? OxAttribute::StringAttribute(nearest, 2)
                           : OxAttribute::StringAttribute(Sampled(others, nearest, others), 2));
        if (!isHidden(name))
            drawn.resolved.emplace_back(name, OxAttribute::StringAttribute(resolved, 2));
        if (flags.empty()) return;
        if (isExtra)
            drawn.flags += " " + flags[0] + " ";
        else if (flags.size() == 1)
            drawn.flags += " -" + name + " " + flags[0];
        else
            drawn.flags += " -" + name + " '" + boost::algorithm::join(flags, " ") + "'";
    }

    static void addUnchanged(const std::string& name, const OxAttribute::Attribute& value,
                             DrawnArguments& drawn) {
        drawn.given.emplace_back(name, value);
        if (!isHidden(name)) drawn.resolved.emplace_back(name, value);
    }

    static bool isHidden(const std::string& name) { return name.compare(0, 2, "__") == 0; }

    std::mt19937 engine;
    const std::string frame;
};

} // namespace TellarTest

#endif
