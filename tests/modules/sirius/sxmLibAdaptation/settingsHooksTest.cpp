// The account and device-identity hooks against an in-memory host root.

#include <sxmlib.h>

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoValue.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

class SettingsHooks : public ::testing::Test
{
protected:
    void SetUp() override { CMSetRoot(&root_); }
    void TearDown() override { CMSetRoot(nullptr); }

    void storeText(const CMPath& path, const QString& text)
    {
        MivoValue value;
        value.setString(text);
        root_.setValue(path, value);
    }

    CMMemoryRoot root_;
};

// Frees the record's texts when the test is done with them.
struct AccountRecord
{
    AccountRecord() { std::memset(&record, 0, sizeof(record)); }
    ~AccountRecord() { sxm_freeAccount(&record); }
    sxm_account record;
};

} // namespace

TEST_F(SettingsHooks, SetAccountStoresEachTextInItsHostFieldAndGetAccountReadsItBack)
{
    std::string texts[] = {"b\xE9\x61", "secret",  "consumer",        "newSecret",
                           "reg-id",    "reg-key", "ann@example.com", "94107"};
    sxm_account written{texts[0].data(), texts[1].data(), texts[2].data(), texts[3].data(),
                        texts[4].data(), texts[5].data(), texts[6].data(), texts[7].data()};
    sxm_setAccount(&written);

    const MivoSiriusAccount stored =
        MivoValue(root_.getValue(MivoSiriusSettingsAccountPath()).toHash()).siriusAccount();
    EXPECT_EQ(stored.username(), QString::fromUtf8("b\xC3\xA9\x61")) << "the library's Latin-1";
    EXPECT_EQ(stored.newPassword(), "newSecret");
    EXPECT_EQ(stored.zip(), "94107");

    AccountRecord read;
    ASSERT_EQ(sxm_getAccount(&read.record), 1);
    const char* readBack[] = {read.record.username,       read.record.password,
                              read.record.consumerType,   read.record.newPassword,
                              read.record.registrationId, read.record.registrationKey,
                              read.record.email,          read.record.zip};
    for (int i = 0; i < 8; ++i)
        EXPECT_STREQ(readBack[i], texts[i].c_str()) << "field " << i;

    // The library starts without a stored account in its own tests; null records are ours to
    // refuse.
    EXPECT_EQ(sxm_getAccount(nullptr), 0);
    sxm_setAccount(nullptr);
    sxm_freeAccount(nullptr);
}

// A text is copied whole when it fits and cut when not, without a terminating zero; an absent
// setting or an unusable buffer gives nothing.
TEST_F(SettingsHooks, TextHooksCopyWhatFitsWithoutATerminatorAndRefuseWhatCannotBe)
{
    const struct
    {
        int (*hook)(char*, int);
        CMPath path;
        std::string expected;
    } cases[] = {
        {sxm_GetMAC, MivoNetworkStateCurrentMAC(), "02:42:ac:11:00:02"},
        {sxm_getConfigUrl, MivoSiriusSettingsConfigUrlPath(), "http://127.0.0.1:8080/c"},
        {sxm_getDeviceMake, MivoSiriusSettingsDeviceMakePath(), "Mivo"},
        {sxm_getDeviceModel, MivoSiriusSettingsDeviceModelPath(), "M1"},
        {sxm_getFixedKey, MivoSiriusSettingsKeyPath(), "00112233445566778899aabbccddeeff"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        char buffer[64];
        std::memset(buffer, 'X', sizeof(buffer));
        EXPECT_EQ(c.hook(buffer, sizeof(buffer)), 0) << "not stored yet";
        storeText(c.path, QString::fromStdString(c.expected));
        const int count = c.hook(buffer, sizeof(buffer));
        EXPECT_EQ(count, static_cast<int>(c.expected.size()));
        EXPECT_EQ(std::string(buffer, c.expected.size()), c.expected);
        EXPECT_EQ(buffer[c.expected.size()], 'X') << "no terminating zero is written";
        std::memset(buffer, 'X', sizeof(buffer));
        EXPECT_EQ(c.hook(buffer, 1), 1);
        EXPECT_EQ(std::string(buffer, 2), c.expected.substr(0, 1) + "X");
        EXPECT_EQ(c.hook(nullptr, 8), 0);
        EXPECT_EQ(c.hook(buffer, 0), 0);
        EXPECT_EQ(c.hook(buffer, -5), 0);
    }
}
