// Compares the library with a plain pointer tree of the same data. scripts/bench.sh runs it and
// prints the table, which docs/performance.md explains. Each benchmark reports one or more rows.
// Likely causes of a regression in a row (in a c_suite row alone: the cost of handles, and in that
// of version 3 of string attributes):
//
//   open              opening files lazily, loading op types
//   first_walk        cooking a location for the first time
//   second_walk       making a producer, finding the cooked location, reading its name and type
//   read_attributes   finding an attribute of a location and reading its value
//   world_of_leaves   gathering the transforms of all ancestors, or composing them
//   world_by_function the same without groups and attributes in between
//   world_kept        reading one matrix
//   jump              finding a child by name, visiting locations in random order
//   dotted_attribute  finding an attribute in nested groups
//   global_attribute  asking the ancestors for an attribute
//   points_to_ndc     calls, branches or divisions per point
//   materials         repeated flattening of equal materials, looking up a path
//   own_materials     copying names and nodes while materials are flattened
//   child_by_name     finding a name among many
//   edit              op types that do not tell what changed, cooking unchanged locations
//   difference_*     comparing values in files, op types that do not tell what changed
//   two_threads       locks, or cache lines that threads share
//   visit_*           steps of a visit besides finding a child; for two threads, how work is shared
//   gather            the values of a location, growing arrays
//   memory            size of records, their index, or data per thread
//   array             an op that makes locations is slow or stores them
//   write_op_file     building the file, sharing equal values
//   read_op_file      checks on reading, hashing
//   compressed_walk   decompressing blocks, memory for them; its sizes: the format of op files
//   primary_rays      making camera rays, the geometry and the material of a hit
//   path_rays         the BSDF, sampling lights and directions
//   first_pixel       the walk of the scene, Embree's tree of instances and its size

#include <charconv>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include <OxTellarProducers/ClientFactory.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/OpTreeSource.h>

#include "Measure.h"
#include "Rows.h"
#include "Scene.h"

namespace TellarBench {

namespace {

using TELLAR::GeometryProducer;
using TELLAR::OpTreeSource;

constexpr int kFailed = 1;
constexpr int kRefused = 2;
constexpr std::int64_t kMostLeaves = 10000000; // integers of the scene are exact in floats

#if defined(__has_feature)
#define TELLAR_BENCH_HAS(sanitizer) __has_feature(sanitizer)
#else
#define TELLAR_BENCH_HAS(sanitizer) 0
#endif

#if defined(__clang__)
constexpr const char* kCompiler = __VERSION__;
#else
constexpr const char* kCompiler = "GCC " __VERSION__;
#endif

/// The reason why this build must not be measured, or null.
constexpr const char* GetRefusal() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) ||                               \
    TELLAR_BENCH_HAS(address_sanitizer) || TELLAR_BENCH_HAS(thread_sanitizer)
    return "this is a sanitised build; figures come from release builds only";
#elif !defined(NDEBUG)
    return "this is a debug build; figures come from release builds only";
#else
    return nullptr;
#endif
}

GeometryProducer::Ptr CheckRoot(GeometryProducer::Ptr root) {
    if (!root) throw std::runtime_error("the scene has no /root; has it been made (--prepare)?");
    return root;
}

GeometryProducer::Ptr OpenSync(const OpTreeSource& source) {
    const auto client = TELLAR::ClientCreateWithOpTree(source);
    if (!client) throw std::runtime_error("there is no client for " + source.describe());
    return CheckRoot(TELLAR::CreateSyncGeometryProducer(client, "/root"));
}

GeometryProducer::Ptr OpenFileSync(const std::string& opFile) {
    return OpenSync(OpTreeSource::createFromFile(opFile));
}

GeometryProducer::Ptr OpenDescriptionSync(const OxAttribute::GroupAttribute& ops) {
    return OpenSync(OpTreeSource::createFromGroupAttribute(ops));
}

GeometryProducer::Ptr OpenFileThreadAware(const std::string& opFile) {
    return CheckRoot(TELLAR::CreateThreadAwareGeometryProducer(opFile, "/root"));
}

GeometryProducer::Ptr OpenDescriptionThreadAware(const OxAttribute::GroupAttribute& ops) {
    return CheckRoot(TELLAR::CreateThreadAwareGeometryProducer(ops, "/root"));
}

std::int64_t ParseLeaves(std::string_view text) {
    std::int64_t leaves = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), leaves);
    if (end.ec != std::errc() || end.ptr != text.data() + text.size() || leaves < 1 ||
        leaves > kMostLeaves)
        throw std::invalid_argument("--leaves: \"" + std::string(text) +
                                    "\" is no number from 1 to " + std::to_string(kMostLeaves));
    return leaves;
}

/// Removes our own options from the arguments and leaves the rest to Google Benchmark.
std::vector<char*> TakeOptions(int argc, char** argv) {
    Options& options = GetOptions();
    std::vector<char*> rest;
    for (int i = 0; i < argc; ++i) {
        const std::string_view argument = argv[i];
        const auto takeValue = [&]() -> std::string_view {
            if (i + 1 == argc)
                throw std::invalid_argument(std::string(argument) + ": its value is missing");
            return argv[++i];
        };
        if (argument == "--leaves")
            options.leaves = ParseLeaves(takeValue());
        else if (argument == "--scenes")
            options.scenes = takeValue();
        else if (argument == "--prepare")
            options.prepare = true;
        else if (argument == "--spoil-checksum")
            options.spoilChecksum = true;
        else
            rest.push_back(argv[i]);
    }
    return rest;
}

void AddRows() {
    for (const Route* route : {&kSync, &kThreadAware}) {
        AddProcessRows(*route);
        AddWalkRows(*route);
        AddLookupRows(*route);
    }
    AddSuiteRows();
    AddSuite4Rows();
    AddThreadRows(kThreadAware);
    AddVisitRows(kThreadAware);
    AddGatherRows(kThreadAware);
    AddPointRows();
    AddMaterialRows();
    AddOwnMaterialRows();
    AddEditRows();
    AddDifferenceRows();
    AddFileRows();
    AddCompressedRows();
    AddRenderRows();
}

int Run(int argc, char** argv) {
    std::vector<char*> rest = TakeOptions(argc, argv);
    if (GetOptions().prepare) {
        PrepareScenes(GetOptions().leaves);
        return 0;
    }
    AddRows();
    int count = static_cast<int>(rest.size());
    benchmark::Initialize(&count, rest.data());
    if (benchmark::ReportUnrecognizedArguments(count, rest.data())) return kFailed;
    benchmark::AddCustomContext("compiler", kCompiler);
    if (benchmark::RunSpecifiedBenchmarks() > 0) return 0;
    throw std::invalid_argument("no row of that name");
}

} // namespace

const Route kSync = {"sync", OpenFileSync, OpenDescriptionSync};
const Route kThreadAware = {"thread_aware", OpenFileThreadAware, OpenDescriptionThreadAware};

} // namespace TellarBench

int main(int argc, char** argv) {
    if (const char* refusal = TellarBench::GetRefusal()) {
        std::fprintf(stderr, "tellar_bench: %s\n", refusal);
        return TellarBench::kRefused;
    }
    try {
        return TellarBench::Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tellar_bench: %s\n", error.what());
        return TellarBench::kFailed;
    }
}
