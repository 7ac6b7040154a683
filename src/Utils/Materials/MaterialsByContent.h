#ifndef OXTELLARPRODUCERS_MATERIALSBYCONTENT_H
#define OXTELLARPRODUCERS_MATERIALSBYCONTENT_H

namespace TELLAR {

/// Empties the cache of FlattenMaterials.
void EmptyMaterialsByContent();

} // namespace TELLAR

#endif
