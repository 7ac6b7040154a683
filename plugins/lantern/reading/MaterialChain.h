#ifndef LANTERN_READING_MATERIALCHAIN_H
#define LANTERN_READING_MATERIALCHAIN_H

#include <atomic>
#include <string>
#include <utility>

#include <boost/intrusive_ptr.hpp>

#include "reading/Attribute.h"

namespace lantern {

/// An immutable list of the materials of a location and its ancestors. The locations that inherit
/// the same materials share one chain.
class MaterialChain {
public:
    using Ptr = boost::intrusive_ptr<MaterialChain>;

    /// `assigned` is the path of the material, or none.
    static Ptr make(Attribute own, Attribute assigned, Ptr above) {
        return Ptr(new MaterialChain(std::move(own), std::move(assigned), std::move(above)));
    }
    MaterialChain(const MaterialChain&) = delete;
    MaterialChain& operator=(const MaterialChain&) = delete;

    /// The material of the location itself.
    const Attribute& material() const { return own; }
    /// Its path; empty if it has none.
    std::string path() const { return assigned.text(); }
    /// The chain of the ancestors; null at the end.
    const MaterialChain* above() const { return next.get(); }
    /// The hash of all materials and their paths.
    const Hash& hash() const { return hashOfAll; }

    friend void intrusive_ptr_add_ref(MaterialChain* chain) {
        chain->count.fetch_add(1, std::memory_order_relaxed);
    }
    /// Frees the links in a loop. Recursion could overflow the stack in a deep scene.
    friend void intrusive_ptr_release(MaterialChain* chain) {
        while (chain && chain->count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            MaterialChain* const above = chain->next.detach();
            delete chain;
            chain = above;
        }
    }

private:
    MaterialChain(Attribute ownMaterial, Attribute path, Ptr above)
        : own(std::move(ownMaterial)), assigned(std::move(path)), next(std::move(above)),
          hashOfAll((next ? next->hashOfAll : Hash()).with(own.hash())) {
        if (assigned) hashOfAll = hashOfAll.with(assigned.hash());
    }
    ~MaterialChain() = default;

    Attribute own;
    Attribute assigned;
    Ptr next;
    Hash hashOfAll;
    std::atomic<int> count{0};
};

inline Hash HashOf(const MaterialChain::Ptr& chain) {
    return chain ? chain->hash() : Hash();
}

} // namespace lantern

#endif
