#ifndef OXTELLARPRODUCERS_UNUSEDRESULTS_H
#define OXTELLARPRODUCERS_UNUSEDRESULTS_H

namespace TELLAR {

/// Frees results as a request for a client does. Does nothing while another thread makes one.
void FreeResultsUnusedForLong();

} // namespace TELLAR

#endif
