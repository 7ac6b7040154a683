#include "LocationHandle.h"

#include <memory>
#include <utility>

using TELLAR::LentTexts;

/// Threads that meet here make the texts each, and keep those of the first one.
const LentTexts& OxSgIteratorStruct::makeTexts() {
    auto made = std::make_unique<LentTexts>();
    made->fullName = producer->getFullName();
    if (!getOwn()) {
        made->name = producer->getName();
        made->type = producer->getAttribute("type");
        made->childNames = producer->getPotentialChildren();
    }
    const LentTexts* first = nullptr;
    if (!texts.compare_exchange_strong(first, made.get(), std::memory_order_acq_rel)) return *first;
    return *made.release();
}
