#ifndef OXTELLARPRODUCERS_OPTREESOURCE_H
#define OXTELLARPRODUCERS_OPTREESOURCE_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include <boost/shared_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// Where the text stands that describes each op, by the name of the op: "scene.json:14:5", or a
/// file alone. Ops that are not in it have no place.
using OpPlaces = std::unordered_map<std::string, std::string>;

/// A source of an op graph. Immutable: const members may be called from several threads at once,
/// each with a transaction of its own.
class TELLAR_API AbstractOpTreeSource {
public:
    virtual ~AbstractOpTreeSource();

    /// Whether there is anything to build from. If not, assigns the reason to *error, unless error
    /// is null.
    virtual bool isValid(std::string* error) const = 0;
    /// Builds the graph in `transaction` and returns its terminal Op; null when that fails.
    virtual std::shared_ptr<TellarRuntime::Op>
    getOp(const std::shared_ptr<TellarRuntime::Transaction>& transaction) const = 0;
    virtual std::string describe() const = 0;

    /// The identity of the source: sources with equal hashes share clients.
    std::uint64_t getHash() const { return hash; }

    AbstractOpTreeSource(const AbstractOpTreeSource& other) = default;
    AbstractOpTreeSource& operator=(const AbstractOpTreeSource&) = delete;

protected:
    explicit AbstractOpTreeSource(std::uint64_t sourceHash) : hash(sourceHash) {}

private:
    const std::uint64_t hash;
};

/// A serialised op file on disk. The source's hash is that of the path as typed: "a.oxop" and
/// "./a.oxop" are two sources.
///
/// Trap: the path is the whole identity. When the file is replaced, clients made before are reused
/// and show the old scene, while a new client shows the new one.
/// OpTreeSource::createFromGroupAttribute makes a source that is identified by its content.
class TELLAR_API OpTreeFileSource : public AbstractOpTreeSource {
public:
    explicit OpTreeFileSource(const std::string& path);

    /// "Empty filename provided.", or "File \"<path>\" does not exist."; any kind of file-system
    /// entry is accepted.
    bool isValid(std::string* error) const override;
    /// Null for an empty name, and for a file that cannot be read as an op file.
    std::shared_ptr<TellarRuntime::Op>
    getOp(const std::shared_ptr<TellarRuntime::Transaction>& transaction) const override;
    /// The path.
    std::string describe() const override;

private:
    const std::string filename;
};

/// An op-tree description held in an attribute: a group with one child per Op, which is a group
/// {"opType": string, "opArgs": group, "opInputs": names of other children}. The last child is
/// the terminal Op. The source's hash is the first word of the attribute's hash.
class TELLAR_API OpTreeAttributeSource : public AbstractOpTreeSource {
public:
    explicit OpTreeAttributeSource(const OxAttribute::GroupAttribute& opTreeDescription);
    /// The Ops get these places, with which their errors begin. They are part of the source's
    /// identity, unless there are none, and of no op's: sources with other places share results,
    /// and no clients.
    OpTreeAttributeSource(const OxAttribute::GroupAttribute& opTreeDescription,
                          const OpPlaces& places);

    /// "Invalid GroupAttribute provided." An empty group is valid.
    bool isValid(std::string* error) const override;
    /// Null for an invalid or empty description, and when a child is not a group; Ops made for
    /// earlier children then stay in the transaction. Inputs with unknown names are null.
    std::shared_ptr<TellarRuntime::Op>
    getOp(const std::shared_ptr<TellarRuntime::Transaction>& transaction) const override;
    /// "GroupAttribute".
    std::string describe() const override;

private:
    const OxAttribute::GroupAttribute description;
    const OpPlaces places;
};

/// A copyable handle that shares one source; a key for ordered containers. Copies may be made and
/// dropped on any thread.
class TELLAR_API OpTreeSource {
public:
    /// Never fails; ask isValid.
    static OpTreeSource createFromFile(const std::string& filename);
    static OpTreeSource createFromGroupAttribute(const OxAttribute::GroupAttribute& description);
    static OpTreeSource createFromGroupAttribute(const OxAttribute::GroupAttribute& description,
                                                 const OpPlaces& places);

    OpTreeSource(const OpTreeSource& other);
    OpTreeSource& operator=(const OpTreeSource& other);
    ~OpTreeSource();

    /// Compares the hashes, so sources with equal content are equivalent.
    bool operator<(const OpTreeSource& other) const;

    std::string describe() const;
    std::shared_ptr<TellarRuntime::Op>
    getOp(const std::shared_ptr<TellarRuntime::Transaction>& transaction) const;
    bool isValid(std::string* error) const;

private:
    explicit OpTreeSource(AbstractOpTreeSource* owned);

    AbstractOpTreeSource* source;
    boost::shared_ptr<AbstractOpTreeSource> owner;
};

} // namespace TELLAR

#endif
