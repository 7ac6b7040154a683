#include "TableColumn.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace TellarPython {

namespace {

template <typename T>
constexpr ValueKind KindOf() {
    if constexpr (std::is_same_v<T, std::int32_t>) return ValueKind::Int;
    if constexpr (std::is_same_v<T, std::int64_t>) return ValueKind::Long;
    if constexpr (std::is_same_v<T, float>) return ValueKind::Float;
    return ValueKind::Double;
}

/// From the last value to the first, since the target of a conversion in place is wider.
template <typename From, typename To>
void Convert(const void* source, void* target, std::size_t count) {
    const char* const from = static_cast<const char*>(source);
    char* const to = static_cast<char*>(target);
    for (std::size_t i = count; i-- > 0;) {
        From value;
        std::memcpy(&value, from + i * sizeof(From), sizeof value);
        const auto converted = static_cast<To>(value);
        std::memcpy(to + i * sizeof(To), &converted, sizeof converted);
    }
}

/// Spreads rows of equal size over the rows that have a value, from the last one to the first.
template <typename T, typename Write>
void Spread(T* values, std::size_t valuesInRow, std::size_t present,
            const GrowingArray<bool>& missing, const Write& writeMissing) {
    for (std::size_t row = missing.size(); row-- > 0;) {
        T* const target = values + row * valuesInRow;
        if (missing[row]) {
            writeMissing(target, row, present);
            continue;
        }
        --present;
        std::memmove(target, values + present * valuesInRow, valuesInRow * sizeof(T));
    }
}

template <typename T>
void SpreadNumbers(GrowingArray<unsigned char>& bytes, std::size_t valuesInRow,
                   const GrowingArray<bool>& missing) {
    const std::size_t present = valuesInRow ? bytes.size() / sizeof(T) / valuesInRow : 0;
    const std::size_t wanted = missing.size() * valuesInRow * sizeof(T);
    bytes.extend(wanted - bytes.size());
    const T filler =
        std::numeric_limits<T>::has_quiet_NaN ? std::numeric_limits<T>::quiet_NaN() : T(0);
    Spread(reinterpret_cast<T*>(bytes.data()), valuesInRow, present, missing,
           [&](T* target, std::size_t, std::size_t) { std::fill_n(target, valuesInRow, filler); });
}

} // namespace

std::size_t SizeOf(ValueKind kind) {
    switch (kind) {
    case ValueKind::Int:
    case ValueKind::Float:
        return 4;
    case ValueKind::Text:
        return 1;
    default:
        return 8;
    }
}

bool AreCompatible(ValueKind a, ValueKind b) {
    const bool isEitherNone = a == ValueKind::None || b == ValueKind::None;
    return isEitherNone || (a == ValueKind::Text) == (b == ValueKind::Text);
}

ValueKind Common(ValueKind a, ValueKind b) {
    if (a == b || b == ValueKind::None) return a;
    return a == ValueKind::None ? b : ValueKind::Double;
}

void ConvertBackwards(ValueKind from, const void* source, ValueKind to, void* target,
                      std::size_t count) {
    if (from == to) {
        std::memmove(target, source, count * SizeOf(to));
        return;
    }
    if (from == ValueKind::Int) Convert<std::int32_t, double>(source, target, count);
    if (from == ValueKind::Float) Convert<float, double>(source, target, count);
}

template <typename T>
void TableColumn::addNumbers(const T* numbers, std::size_t count, std::int64_t tupleSize) {
    const ValueKind common = Common(kind, KindOf<T>());
    if (kind != common) become(common);
    addRow(count, tupleSize);
    void* const target = values.extend(count * SizeOf(kind));
    if (kind == KindOf<T>()) {
        if (count > 0) std::memcpy(target, numbers, count * sizeof(T));
    } else {
        ConvertBackwards(KindOf<T>(), numbers, kind, target, count);
    }
}

template void TableColumn::addNumbers(const std::int32_t*, std::size_t, std::int64_t);
template void TableColumn::addNumbers(const std::int64_t*, std::size_t, std::int64_t);
template void TableColumn::addNumbers(const float*, std::size_t, std::int64_t);
template void TableColumn::addNumbers(const double*, std::size_t, std::int64_t);

void TableColumn::addText(std::string_view text) {
    if (kind != ValueKind::Text) become(ValueKind::Text);
    addRow(1, 1);
    std::copy(text.begin(), text.end(), values.extend(text.size()));
    textEnds.push(static_cast<std::int64_t>(values.size()));
}

void TableColumn::addTexts(const OxAttribute::ConstStringSample& texts, std::int64_t tupleSize) {
    if (kind != ValueKind::Text) become(ValueKind::Text);
    addRow(texts.size(), tupleSize);
    for (const std::string_view text : texts) {
        std::copy(text.begin(), text.end(), values.extend(text.size()));
        textEnds.push(static_cast<std::int64_t>(values.size()));
    }
}

void TableColumn::addMissing() {
    if (missing.empty() && rows > 0) std::fill_n(missing.extend(rows), rows, false);
    missing.push(true);
    ++rows;
    if (isRagged()) rowEnds.push(rowEnds.back());
}

void TableColumn::addRow(std::size_t count, std::int64_t tupleSize) {
    const auto signedCount = static_cast<std::int64_t>(count);
    if (width < 0) width = kind == ValueKind::Text ? 1 : signedCount;
    if (!isRagged() && signedCount != width) makeRagged();
    if (isRagged()) rowEnds.push(rowEnds.back() + signedCount);
    if (hasMissing()) missing.push(false);
    ++rows;
    const bool isWhole = tupleSize > 0 && signedCount % tupleSize == 0;
    if (tuple < 0) tuple = tupleSize;
    if (!isWhole || tuple != tupleSize) tuple = 0;
}

/// `wanted` is compatible with the present kind, and wider.
void TableColumn::become(ValueKind wanted) {
    const ValueKind before = std::exchange(kind, wanted);
    if (wanted == ValueKind::Text) textEnds.push(0);
    if (before == ValueKind::None || before == wanted) return;
    const std::size_t count = values.size() / SizeOf(before);
    values.extend(count * (SizeOf(wanted) - SizeOf(before)));
    ConvertBackwards(before, values.data(), wanted, values.data(), count);
}

void TableColumn::makeRagged() {
    rowEnds.push(0);
    for (std::size_t row = 0; row < rows; ++row)
        rowEnds.push(rowEnds.back() + (hasMissing() && missing[row] ? 0 : width));
}

std::size_t TableColumn::countValues() const {
    if (kind == ValueKind::Text) return textEnds.empty() ? 0 : textEnds.size() - 1;
    return values.size() / SizeOf(kind);
}

ColumnPlace TableColumn::getEnd() const {
    return {rows, countValues(), kind == ValueKind::Text ? values.size() : 0};
}

void TableColumn::fillMissing() {
    if (!hasMissing() || isRagged()) return;
    if (kind == ValueKind::None) kind = ValueKind::Double; // no row has a value
    const auto valuesInRow = static_cast<std::size_t>(width < 0 ? 1 : width);
    switch (kind) {
    case ValueKind::Int:
        return SpreadNumbers<std::int32_t>(values, valuesInRow, missing);
    case ValueKind::Long:
        return SpreadNumbers<std::int64_t>(values, valuesInRow, missing);
    case ValueKind::Float:
        return SpreadNumbers<float>(values, valuesInRow, missing);
    case ValueKind::Text: {
        const std::size_t present = textEnds.size() - 1;
        textEnds.extend(missing.size() - present);
        std::int64_t* const ends = textEnds.data() + 1;
        // An empty text ends where the text before it does.
        return Spread(ends, 1, present, missing,
                      [&](std::int64_t* end, std::size_t, std::size_t textsBefore) {
                          *end = ends[static_cast<std::ptrdiff_t>(textsBefore) - 1];
                      });
    }
    default:
        return SpreadNumbers<double>(values, valuesInRow, missing);
    }
}

} // namespace TellarPython
