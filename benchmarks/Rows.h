#ifndef TELLAR_BENCH_ROWS_H
#define TELLAR_BENCH_ROWS_H

#include <string>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TellarBench {

/// A way of opening scenes for the rows below. Both functions return the producer of /root and
/// throw std::runtime_error if there is none.
struct Route {
    const char* name; ///< the suffix of the rows' names
    TELLAR::GeometryProducer::Ptr (*openFile)(const std::string& opFile);
    TELLAR::GeometryProducer::Ptr (*openDescription)(const OxAttribute::GroupAttribute& ops);
};

extern const Route kSync;
extern const Route kThreadAware;

// Each function registers the rows of the file with its name.
void AddWalkRows(const Route& route);
void AddLookupRows(const Route& route);
void AddProcessRows(const Route& route);
void AddThreadRows(const Route& route); ///< the route must be safe from several threads
void AddVisitRows(const Route& route);  ///< the same
void AddGatherRows(const Route& route); ///< the same
void AddSuiteRows();                    ///< walks through the C suites, versions 3 and 1
void AddSuite4Rows();                   ///< walks through version 4 of the C suites
void AddPointRows();
void AddMaterialRows();
void AddOwnMaterialRows();
void AddEditRows();
void AddDifferenceRows();
void AddFileRows();
void AddCompressedRows();
void AddRenderRows();

} // namespace TellarBench

#endif
