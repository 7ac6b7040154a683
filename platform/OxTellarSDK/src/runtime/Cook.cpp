#include "Cook.h"

#include <utility>

namespace OxTellarRuntimeDetail {

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using LocationData = TellarRuntime::LocationData;

LocationData MissingLocation() {
    return LocationData(LocationRecord::Missing());
}

LocationData Cook::input(std::size_t index, const std::string& path) {
    if (index >= op.inputs.size() || !op.inputs[index]) return MissingLocation();
    return OpNode::Of(*op.inputs[index]).cook(path, eviction, nullptr);
}

void Cook::pass(const LocationData& data) {
    result = data;
    isOwn = false;
}

void Cook::setAttrs(const GroupAttribute& attrs) {
    LocationRecord& record = ownRecord();
    record.exists = true;
    record.attrs = attrs;
}

void Cook::setPotentialChildren(const StringAttribute& names) {
    LocationRecord& record = ownRecord();
    record.exists = true;
    if (record.isParent) {
        static_cast<ParentRecord&>(record).names = names;
    } else if (names.isValid()) {
        LocationData parent(LocationRecord::Create(names));
        parent.getRecord()->takeFrom(record);
        result = std::move(parent);
    }
}

void Cook::setNote(const Attribute& note) {
    ownRecord().setNote(note, op.store->shortId());
}

Attribute Cook::parentNote() const {
    const LocationData parent(node.parent()->acquireRecord());
    if (!parent.isValid()) return {};
    const LocationRecord::Extra* extra = parent.getRecord()->extra.load(std::memory_order_acquire);
    // A record that was passed on carries the note of another Op.
    return extra && extra->noteStore == op.store->shortId() ? extra->note : Attribute();
}

LocationData Cook::takeResult() {
    if (!result.isValid()) return MissingLocation();
    if (isOwn) result.getRecord()->ownValues(values.end());
    return std::move(result);
}

/// The cook's own record, which it may change. On first use it is a copy of what was passed.
LocationRecord& Cook::ownRecord() {
    if (isOwn) return *result.getRecord();
    isOwn = true;
    LocationData own(LocationRecord::Create(result.getPotentialChildren()));
    if (result.isValid()) {
        own.getRecord()->exists = result.doesLocationExist();
        own.getRecord()->attrs = result.getAttrs();
    }
    result = std::move(own);
    return *result.getRecord();
}

} // namespace OxTellarRuntimeDetail
