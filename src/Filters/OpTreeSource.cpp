#include <OxTellarProducers/OpTreeSource.h>

namespace TELLAR {

AbstractOpTreeSource::~AbstractOpTreeSource() = default;

OpTreeSource::OpTreeSource(AbstractOpTreeSource* owned) : source(owned), owner(owned) {}
OpTreeSource::OpTreeSource(const OpTreeSource& other) = default;
OpTreeSource& OpTreeSource::operator=(const OpTreeSource& other) = default;
OpTreeSource::~OpTreeSource() = default;

OpTreeSource OpTreeSource::createFromFile(const std::string& filename) {
    return OpTreeSource(new OpTreeFileSource(filename));
}

OpTreeSource
OpTreeSource::createFromGroupAttribute(const OxAttribute::GroupAttribute& description) {
    return OpTreeSource(new OpTreeAttributeSource(description));
}

bool OpTreeSource::operator<(const OpTreeSource& other) const {
    return source->getHash() < other.source->getHash();
}

std::string OpTreeSource::describe() const {
    return source->describe();
}

std::shared_ptr<TellarRuntime::Op>
OpTreeSource::getOp(const std::shared_ptr<TellarRuntime::Transaction>& transaction) const {
    return source->getOp(transaction);
}

bool OpTreeSource::isValid(std::string* error) const {
    return source->isValid(error);
}

} // namespace TELLAR
