#include <OxTellarProducers/AttributeHistoryRecord.h>

#include <utility>

namespace TELLAR {

AttributeHistoryRecord::AttributeHistoryRecord() = default;
AttributeHistoryRecord::AttributeHistoryRecord(const std::string& recordName,
                                               const OxAttribute::Attribute& attribute)
    : name(recordName), attr(attribute) {}
AttributeHistoryRecord::AttributeHistoryRecord(const AttributeHistoryRecord& other) = default;
AttributeHistoryRecord&
AttributeHistoryRecord::operator=(const AttributeHistoryRecord& other) = default;
AttributeHistoryRecord::~AttributeHistoryRecord() = default;

// A short string that was moved from may keep its characters; here it must not.
AttributeHistoryRecord::AttributeHistoryRecord(AttributeHistoryRecord&& other) noexcept
    : attr(std::move(other.attr)) {
    name.swap(other.name);
}

AttributeHistoryRecord& AttributeHistoryRecord::operator=(AttributeHistoryRecord&& other) noexcept {
    if (this == &other) return *this;
    name = std::exchange(other.name, std::string());
    attr = std::move(other.attr);
    return *this;
}

} // namespace TELLAR
