#ifndef TELLAR_PYTHON_TABLEREQUEST_H
#define TELLAR_PYTHON_TABLEREQUEST_H

#include <functional>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

#include "Selection.h"

namespace TellarPython {

/// The subject of a column. Python has the same numbers.
enum class ColumnSubject {
    Path,
    Name,
    Type,
    Depth,
    Parent,
    WorldMatrix,
    LocalMatrix,
    Attribute,
    GlobalAttribute
};

struct ColumnRequest {
    std::string name;
    ColumnSubject subject = ColumnSubject::Attribute;
    std::string attribute; // for the last two subjects
};

struct TableRequest {
    TELLAR::GeometryProducer::Ptr start; // null: nothing is selected
    Selection selection;
    std::vector<ColumnRequest> columns;
    int threads = 0;              // as in VisitOptions
    bool isKeepingErrors = false; // otherwise the first error is thrown
    std::function<void()> poll;   // called now and then on the calling thread; what it throws ends
};

} // namespace TellarPython

#endif
