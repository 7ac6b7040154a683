#ifndef TELLARINTERNAL_SIMILARNAMES_H
#define TELLARINTERNAL_SIMILARNAMES_H

#include <string>
#include <string_view>
#include <vector>

/// Names that somebody may have meant who wrote another one.

namespace TellarInternal {

/// The number of bytes to insert, remove, replace or swap with the next one to turn one text into
/// the other.
std::size_t EditDistance(std::string_view from, std::string_view to);

/// The names that are most like a missing one, the most similar first. At most three, and only such
/// as differ in about a third of the letters or less. Upper and lower case count as equal.
std::vector<std::string> SimilarNames(const std::vector<std::string>& names,
                                      std::string_view missing);

/// "; did you mean "a" or "b"?", with the names between quotation marks. Empty if there are none.
std::string MeantQuestion(const std::vector<std::string>& names, char quote = '"');

/// "; did you mean "a", "b" or "c"?", with the similar names between quotation marks. Empty if
/// there are none.
std::string DidYouMean(const std::vector<std::string>& names, std::string_view missing,
                       char quote = '"');

} // namespace TellarInternal

#endif
