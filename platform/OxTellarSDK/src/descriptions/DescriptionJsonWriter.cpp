#include <OxTellarSDK/DescriptionJson.h>

#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "AttributeJsonWriter.h"
#include "SampleValues.h"
#include "text/MessageText.h"
#include "text/Utf8.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

/// Writes an op-tree description, having checked that the text will read back equal.
class DescriptionWriter {
public:
    explicit DescriptionWriter(const GroupAttribute& description) : description(description) {}

    std::string write() {
        check();
        json.open('{');
        json.nextMember("ops");
        json.open('[');
        for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
            json.nextItem();
            name = description.getChildName(i);
            writeOp(description.getChildByIndex(i));
        }
        json.close(']');
        json.close('}');
        json.raw("\n");
        return json.take();
    }

private:
    const GroupAttribute& description;
    JsonWriter json{2};
    std::string name; // name of the op being written

    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error("Op " + Quoted(name) + " cannot be written as JSON: " + what);
    }

    void check() const {
        if (!description.isValid()) throw std::runtime_error("There is no description to write");
        if (description.getNumberOfChildren() == 0)
            throw std::runtime_error("The description holds no op");
        if (!description.getGroupInherit())
            throw std::runtime_error(
                "The description's group does not inherit, which cannot be written as JSON");
    }

    void writeOp(const GroupAttribute& op) {
        if (name.empty() || !IsUtf8(name)) fail("its name is empty or not UTF-8");
        if (!op.isValid()) fail("it is not a group");
        if (!op.getGroupInherit()) fail("its group does not inherit");
        if (op.findChild("opType") < 0) fail("it has no \"opType\"");
        json.open('{');
        json.nextMember("name");
        json.string(name);
        for (std::int64_t i = 0; i < op.getNumberOfChildren(); ++i)
            writePart(op.getChildNameView(i), op.getChildByIndex(i));
        json.close('}');
    }

    void writeType(const StringAttribute& type) {
        if (type.getNumberOfValues() != 1) fail("\"opType\" is not one string");
        json.nextMember("type");
        json.string(type.getValueView());
    }

    void writePart(std::string_view part, const Attribute& attribute) {
        if (part == "opType") {
            writeType(checkedNames(part, attribute));
        } else if (part == "opArgs") {
            if (attribute.getType() != kAttributeTypeGroup) fail("\"opArgs\" is not a group");
            json.nextMember("args");
            WriteAttribute(json, attribute);
        } else if (part == "opInputs") {
            json.nextMember("inputs");
            writeInputs(checkedNames(part, attribute));
        } else {
            fail(Quoted(part) + " is no part of an op");
        }
    }

    StringAttribute checkedNames(std::string_view part, const Attribute& attribute) const {
        StringAttribute names(attribute);
        const bool isPlain = names.isValid() && IsTimeless(names) && names.getTupleSize() == 1;
        if (!isPlain || !AllUtf8(names))
            fail(Quoted(part) + " is not a list of UTF-8 strings without times");
        return names;
    }

    void writeInputs(const StringAttribute& inputs) {
        const ConstStringSample names = inputs.getSample(0);
        json.list(names.size(), [&](std::size_t i) {
            if (names[i].empty()) {
                json.raw("null");
                return;
            }
            if (description.findChild(names[i]) < 0)
                fail("its input " + Quoted(names[i]) + " names no op");
            json.string(names[i]);
        });
    }
};

} // namespace

std::string WriteDescriptionJson(const GroupAttribute& description) {
    return DescriptionWriter(description).write();
}

} // namespace OxAttribute
