#ifndef TELLAR_OPS_TESTS_OPTYPESCENES_H
#define TELLAR_OPS_TESTS_OPTYPESCENES_H

#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/OpCheck.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarRuntime.h>
#include <OxTellarSDK/XFormUtil.h>

#include "ErrorOf.h"

/// Scenes and graphs for tests of the op types, which use them as any program does: by name,
/// through the runtime.
namespace OpTypeScenes {

using namespace OxAttribute;
using Op = std::shared_ptr<TellarRuntime::Op>;
using Client = std::shared_ptr<TellarRuntime::Client>;
using LocationData = TellarRuntime::LocationData;
using Children = std::vector<GroupAttribute::Child>;
using Names = std::vector<std::string>;

inline GroupAttribute Group(const Children& children) {
    return GroupAttribute(children, true);
}
inline Attribute Text(const char* text) {
    return StringAttribute(text);
}
inline Attribute Texts(std::initializer_list<std::string_view> texts) {
    return StringAttribute(texts, 1);
}
inline Attribute Int(int value) {
    return IntAttribute(value);
}
inline Attribute Doubles(std::initializer_list<double> values) {
    return DoubleAttribute(values, static_cast<std::int64_t>(values.size()));
}

/// One location as StaticScene reads it.
inline GroupAttribute Location(const Children& attrs, const Children& children = {}) {
    Children both{{"a", Group(attrs)}};
    if (!children.empty()) both.emplace_back("c", Group(children));
    return Group(both);
}

/// Ops under construction. Cooking one of them commits all; after that, threads may share the
/// scene.
class Graph {
public:
    Op add(const std::string& type, const GroupAttribute& args,
           const std::vector<Op>& inputs = {}) {
        Op op = transaction->createOp();
        transaction->setOpArgs(op, type, args);
        transaction->setOpInputs(op, inputs);
        Client client = transaction->createClient();
        transaction->setClientOp(client, op);
        clients[op] = client;
        return op;
    }

    Client client(const Op& op) {
        commit();
        return clients.at(op);
    }
    LocationData cook(const Op& op, const std::string& path) {
        return client(op)->cookLocation(path);
    }
    /// The warnings about an Op and its inputs, each as "Type: text".
    Names warnings(const Op& op, std::uint64_t mostLocations = UINT64_MAX) {
        commit();
        Names texts;
        for (const OxOpType::Warning& warning : OxOpType::CheckOps(op, mostLocations))
            texts.push_back(warning.opType + ": " + warning.text);
        return texts;
    }
    void name(const Op& op, const std::string& name) { transaction->setOpName(op, name); }
    bool exists(const Op& op, const std::string& path) {
        return cook(op, path).doesLocationExist();
    }
    GroupAttribute attrs(const Op& op, const std::string& path) {
        return cook(op, path).getAttrs();
    }
    Attribute attr(const Op& op, const std::string& path, const char* name) {
        return attrs(op, path).getChildByName(name);
    }
    Names children(const Op& op, const std::string& path) {
        Names names;
        for (const std::string_view name :
             cook(op, path).getPotentialChildren().getNearestSample(0))
            names.emplace_back(name);
        return names;
    }
    /// The number of locations at and below the path.
    std::size_t countFrom(const Op& op, const std::string& path) {
        std::size_t count = exists(op, path) ? 1 : 0;
        for (const std::string& name : children(op, path))
            count += countFrom(op, path + "/" + name);
        return count;
    }
    /// Whether two Ops give the same record.
    bool shares(const Op& op, const Op& input, const std::string& path) {
        const LocationData data = cook(op, path);
        return data.isValid() && data.getRecord() == cook(input, path).getRecord();
    }

private:
    void commit() {
        if (committed) return;
        runtime->commit(transaction);
        committed = true;
    }

    std::shared_ptr<TellarRuntime> runtime = TellarRuntime::create();
    std::shared_ptr<TellarRuntime::Transaction> transaction = runtime->createTransaction();
    std::map<Op, Client> clients;
    bool committed = false;
};

/// /root/world/geo/{ball, box/{lid, body}} and /root/materials/red, each with an int "tag".
inline GroupAttribute SmallScene() {
    const GroupAttribute box = Location({{"tag", Int(4)}}, {{"lid", Location({{"tag", Int(5)}})},
                                                            {"body", Location({{"tag", Int(6)}})}});
    const GroupAttribute ball =
        Location({{"tag", Int(3)}, {"xform", Group({{"translate", Doubles({1, 2, 3})}})}});
    const GroupAttribute geo = Location({{"tag", Int(2)}}, {{"ball", ball}, {"box", box}});
    const GroupAttribute world = Location({{"tag", Int(1)}}, {{"geo", geo}});
    const GroupAttribute red = Location({{"material", Group({{"color", Text("red")}})}});
    const GroupAttribute materials = Location({}, {{"red", red}, {"empty", Location({})}});
    return Location({{"tag", Int(0)}}, {{"world", world}, {"materials", materials}});
}

/// The attribute written to a file and read back from it.
inline Attribute ThroughAFile(const Attribute& attribute, const std::string& path) {
    {
        std::ofstream file(path, std::ios::binary);
        attribute.writeAttributeStream(
            &file, [](void* stream, const void* buffer, std::int64_t bytes) -> std::int64_t {
                auto* out = static_cast<std::ofstream*>(stream);
                return out->write(static_cast<const char*>(buffer), bytes) ? bytes : -1;
            });
    }
    FileStream stream(path, false);
    return Attribute::readAttributeStream(&stream, FileStream::read, 0);
}

/// The error of an Op of the type when its first location is cooked.
inline std::string CookErrorOf(const std::string& type, const GroupAttribute& args,
                               int numberOfInputs = 0) {
    Graph graph;
    std::vector<Op> inputs;
    for (int input = 0; input < numberOfInputs; ++input)
        inputs.push_back(graph.add("StaticScene", SmallScene()));
    const Op op = graph.add(type, args, inputs);
    return ErrorOf([&] { graph.cook(op, "/root"); });
}

/// Where the location's own "xform" takes its local origin, and the point (1, 0, 0).
inline std::vector<double> Moved(const GroupAttribute& attrs, double x = 0) {
    const auto [matrix, used] =
        OxXFormUtil::CalcTransformMatrixAtTime(attrs.getChildByName("xform"), 0);
    const auto m = matrix.getNearestSample(0);
    if (m.size() != 16) return {};
    return {x * m[0] + m[12], x * m[1] + m[13], x * m[2] + m[14]};
}

inline std::vector<double> Values(const Attribute& attribute) {
    const auto sample = DoubleAttribute(attribute).getNearestSample(0);
    return {sample.begin(), sample.end()};
}

} // namespace OpTypeScenes

#endif
