#include "text/SimilarNames.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace TellarInternal {

namespace {

/// A name that differs in more letters is not a misspelling.
constexpr std::size_t kMaximumDistance = 3;

/// A hint names only a few.
constexpr std::size_t kMaximumSuggestions = 3;

std::string LowerCase(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

} // namespace

std::size_t EditDistance(std::string_view from, std::string_view to) {
    // After the i-th row, last[j] is the distance from the first i bytes of `from` to the first j
    // bytes of `to`. `before` is the row above it.
    std::vector<std::size_t> before;
    std::vector<std::size_t> last(to.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::vector<std::size_t> row(to.size() + 1, i);
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
            row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
            const bool isSwapped =
                i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
            if (isSwapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
        before = std::exchange(last, std::move(row));
    }
    return last.back();
}

std::vector<std::string> SimilarNames(const std::vector<std::string>& names,
                                      std::string_view missing) {
    const std::string wanted = LowerCase(missing);
    const std::size_t limit = std::clamp<std::size_t>(wanted.size() / 3, 1, kMaximumDistance);
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const std::string& name : names) {
        // A cheap test first, which bounds the cost for a long missing name.
        if (name.size() > wanted.size() + limit || wanted.size() > name.size() + limit) continue;
        const std::size_t distance = EditDistance(wanted, LowerCase(name));
        if (distance <= limit && distance < wanted.size()) found.emplace_back(distance, name);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> similar;
    for (std::size_t i = 0; i < found.size() && i < kMaximumSuggestions; ++i)
        similar.push_back(std::move(found[i].second));
    return similar;
}

std::string MeantQuestion(const std::vector<std::string>& names, char quote) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const bool isLast = i + 1 == names.size();
        text += i == 0 ? "; did you mean " : isLast ? " or " : ", ";
        text += quote + names[i] + quote;
    }
    return text.empty() ? text : text + '?';
}

std::string DidYouMean(const std::vector<std::string>& names, std::string_view missing,
                       char quote) {
    return MeantQuestion(SimilarNames(names, missing), quote);
}

} // namespace TellarInternal
