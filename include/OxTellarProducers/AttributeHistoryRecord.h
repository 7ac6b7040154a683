#ifndef OXTELLARPRODUCERS_ATTRIBUTEHISTORYRECORD_H
#define OXTELLARPRODUCERS_ATTRIBUTEHISTORYRECORD_H

#include <string>

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// One named attribute of an attribute's history. The library fills none itself.
struct TELLAR_API AttributeHistoryRecord {
    AttributeHistoryRecord();
    AttributeHistoryRecord(const std::string& recordName, const OxAttribute::Attribute& attribute);
    AttributeHistoryRecord(const AttributeHistoryRecord& other);
    /// Leaves the name of `other` empty.
    AttributeHistoryRecord(AttributeHistoryRecord&& other) noexcept;
    AttributeHistoryRecord& operator=(const AttributeHistoryRecord& other);
    AttributeHistoryRecord& operator=(AttributeHistoryRecord&& other) noexcept;
    ~AttributeHistoryRecord();

    std::string name;
    OxAttribute::Attribute attr;
};

} // namespace TELLAR

#endif
