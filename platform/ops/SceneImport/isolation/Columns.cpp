#include "Columns.h"

#include <cstdint>
#include <stdexcept>

namespace TellarSceneImport {

using namespace OxAttribute;

namespace {

template <typename Value, typename Source>
std::vector<Value> ValuesOf(const Source& attribute, std::string_view name) {
    if (!attribute.isValid()) RefuseColumn(name);
    const auto sample = attribute.getNearestSample(0.0f);
    std::vector<Value> values;
    values.reserve(sample.size());
    for (const auto& value : sample)
        values.emplace_back(value);
    return values;
}

} // namespace

void ColumnWriter::add(std::string_view name, const std::vector<int>& values) {
    group.set(name, IntAttribute(values.data(), static_cast<std::int64_t>(values.size()), 1));
}

void ColumnWriter::add(std::string_view name, const std::vector<double>& values) {
    group.set(name, DoubleAttribute(values.data(), static_cast<std::int64_t>(values.size()), 1));
}

void ColumnWriter::add(std::string_view name, const std::vector<std::string>& values) {
    group.set(name, StringAttribute(values, 1));
}

void ColumnWriter::add(std::string_view name, const std::vector<GroupAttribute>& values) {
    GroupBuilder children(BuilderModeStrict);
    for (std::size_t i = 0; i < values.size(); ++i)
        children.set(std::to_string(i), values[i].isValid() ? values[i] : GroupAttribute(false));
    group.set(name, children.isEmpty() ? GroupAttribute(false) : children.build());
}

void ColumnWriter::add(std::string_view name, const GroupAttribute& value) {
    group.set(name, value);
}

ColumnReader::ColumnReader(const GroupAttribute& parent, std::string_view name)
    : group(parent.getChildByName(name)) {
    if (!group.isValid()) RefuseColumn(name);
}

std::vector<int> ColumnReader::ints(std::string_view name) const {
    return ValuesOf<int>(IntAttribute(group.getChildByName(name)), name);
}

std::vector<double> ColumnReader::doubles(std::string_view name) const {
    return ValuesOf<double>(DoubleAttribute(group.getChildByName(name)), name);
}

std::vector<std::string> ColumnReader::texts(std::string_view name) const {
    return ValuesOf<std::string>(StringAttribute(group.getChildByName(name)), name);
}

std::vector<GroupAttribute> ColumnReader::groups(std::string_view name) const {
    const GroupAttribute parent(group.getChildByName(name));
    if (!parent.isValid()) RefuseColumn(name);
    std::vector<GroupAttribute> found;
    for (std::int64_t i = 0; i < parent.getNumberOfChildren(); ++i) {
        found.emplace_back(parent.getChildByIndex(i));
        if (!found.back().isValid()) RefuseColumn(name);
    }
    return found;
}

void RefuseColumn(std::string_view name) {
    throw std::runtime_error("the scene reader sent a wrong \"" + std::string(name) + '"');
}

void RequireIndex(int index, std::size_t size, std::string_view name) {
    if (index < 0 || static_cast<std::size_t>(index) >= size) RefuseColumn(name);
}

std::pair<std::size_t, std::size_t> PartOf(const std::vector<int>& ends, std::size_t i,
                                           std::size_t total, std::string_view name) {
    const int begin = i == 0 ? 0 : ends[i - 1];
    if (begin < 0 || ends[i] < begin || static_cast<std::size_t>(ends[i]) > total)
        RefuseColumn(name);
    return {begin, ends[i]};
}

} // namespace TellarSceneImport
