// The identities of Ops whose arguments are in memory, in files, or in part in a file.
#include <OxTellarSDK/OpType.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "TempDirectory.h"

using namespace OxAttribute;

namespace {

class IdleType : public OxOpType::OpType {
public:
    IdleType() { about.name = "LargeFileTest.Idle"; }
    const OxOpType::Description& description() const override { return about; }
    void cook(OxOpType::CookContext&) const override {}

private:
    OxOpType::Description about;
};

GroupAttribute Opened(const std::string& path) {
    FileStream stream(path, true);
    return GroupAttribute(Attribute::readAttributeStream(&stream, &FileStream::read, 0));
}

/// The identity of an Op with these arguments.
Hash IdentityOf(const GroupAttribute& args) {
    static const bool isRegistered = [] {
        OxOpType::RegisterOpType(new IdleType);
        return true;
    }();
    static_cast<void>(isRegistered);
    const auto runtime = TellarRuntime::create();
    const auto transaction = runtime->createTransaction();
    const auto op = transaction->createOp();
    transaction->setOpArgs(op, "LargeFileTest.Idle", args);
    runtime->commit(transaction);
    return op->getIdentity();
}

/// A large file with an error in the middle of an array.
std::string WriteDamagedFile(const TempDirectory& folder) {
    std::vector<float> values(2 << 20, 1.5f);
    values.back() = 2.5f;
    const GroupAttribute group({{"b", FloatAttribute(2.0f)}}, true);
    const GroupAttribute content({{"a", FloatAttribute(values, 1)}, {"group", group}}, true);
    const std::string path = folder.path("large.oxa");
    WriteAttributeFile(path, content);
    std::string bytes = folder.read("large.oxa");
    bytes[bytes.size() / 4] ^= 1;
    return folder.write("large.oxa", bytes);
}

GroupAttribute Only(const char* name, const Attribute& child, bool inherits = true) {
    return GroupAttribute({{name, child}}, inherits);
}

} // namespace

TEST(OpIdentity, IsFoundWithoutReadingAPartOfALargeFile) {
    const TempDirectory folder;
    const GroupAttribute file = Opened(WriteDamagedFile(folder));
    ASSERT_ANY_THROW(static_cast<void>(file.getHash()));
    const auto identityWith = [&](int number) {
        const GroupAttribute inner({{"file", file}, {"n", IntAttribute(number)}}, true);
        return IdentityOf(Only("inner", inner));
    };
    EXPECT_EQ(identityWith(1), identityWith(1));
    EXPECT_NE(identityWith(1), identityWith(2));
    EXPECT_NE(IdentityOf(file), IdentityOf(GroupAttribute(file.getChildByName("group"))));
    EXPECT_NE(IdentityOf(Only("a", file)), IdentityOf(Only("b", file)));
    EXPECT_NE(IdentityOf(Only("a", file)), IdentityOf(Only("a", file, false)));
}

TEST(OpIdentity, IsTheSameForEqualArgumentsInMemoryAndInASmallFile) {
    const GroupAttribute args = Only("inner", Only("n", IntAttribute(1)));
    const TempDirectory folder;
    WriteAttributeFile(folder.path("small.oxa"), args);
    const GroupAttribute fromFile = Opened(folder.path("small.oxa"));
    EXPECT_EQ(IdentityOf(args), IdentityOf(fromFile));
    EXPECT_EQ(IdentityOf(args), IdentityOf(Only("inner", fromFile.getChildByName("inner"))));
    EXPECT_NE(IdentityOf(args), IdentityOf(Only("inner", Only("n", IntAttribute(2)))));
}
