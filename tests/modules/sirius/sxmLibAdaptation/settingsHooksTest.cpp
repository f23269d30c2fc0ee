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

    void storeIdentity()
    {
        storeText(MivoNetworkStateCurrentMAC(), "02:42:ac:11:00:02");
        storeText(MivoSiriusSettingsConfigUrlPath(), "http://127.0.0.1:8080/config");
        storeText(MivoSiriusSettingsDeviceMakePath(), "Mivo");
        storeText(MivoSiriusSettingsDeviceModelPath(), "M1");
        storeText(MivoSiriusSettingsKeyPath(), "00112233445566778899aabbccddeeff");
    }

    MivoSiriusAccount storedAccount()
    {
        return MivoValue(root_.getValue(MivoSiriusSettingsAccountPath()).toHash()).siriusAccount();
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

char* mutableText(std::string& text)
{
    return text.data();
}

} // namespace

TEST_F(SettingsHooks, SetAccountStoresEachTextInItsHostFieldAndGetAccountReadsItBack)
{
    std::string texts[] = {"b\xE9\x61", "secret",  "consumer",        "newSecret",
                           "reg-id",    "reg-key", "ann@example.com", "94107"};
    sxm_account written{mutableText(texts[0]), mutableText(texts[1]), mutableText(texts[2]),
                        mutableText(texts[3]), mutableText(texts[4]), mutableText(texts[5]),
                        mutableText(texts[6]), mutableText(texts[7])};
    sxm_setAccount(&written);

    const MivoSiriusAccount stored = storedAccount();
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
}

TEST_F(SettingsHooks, TextHooksCopyTheWholeTextWhenItFitsOrCutItWithoutATerminator)
{
    storeIdentity();
    const struct
    {
        int (*hook)(char*, int);
        std::string expected;
    } cases[] = {{sxm_GetMAC, "02:42:ac:11:00:02"},
                 {sxm_getConfigUrl, "http://127.0.0.1:8080/config"},
                 {sxm_getDeviceMake, "Mivo"},
                 {sxm_getDeviceModel, "M1"},
                 {sxm_getFixedKey, "00112233445566778899aabbccddeeff"}};
    for (const auto& c : cases) {
        char buffer[64];
        std::memset(buffer, 'X', sizeof(buffer));
        const int count = c.hook(buffer, sizeof(buffer));
        EXPECT_EQ(count, static_cast<int>(c.expected.size()));
        EXPECT_EQ(std::string(buffer, c.expected.size()), c.expected);
        EXPECT_EQ(buffer[c.expected.size()], 'X') << "no terminating zero is written";
    }
    char buffer[20];
    std::memset(buffer, 'X', sizeof(buffer));
    EXPECT_EQ(sxm_GetMAC(buffer, 12), 12);
    EXPECT_EQ(std::string(buffer, 13), "02:42:ac:11:X");
}

TEST_F(SettingsHooks, AbsentSettingsUnusableBuffersAndNullRecordsAreRefused)
{
    char buffer[8] = {};
    EXPECT_EQ(sxm_getConfigUrl(buffer, sizeof(buffer)), 0);
    EXPECT_EQ(sxm_GetMAC(buffer, sizeof(buffer)), 0);

    storeText(MivoSiriusSettingsDeviceMakePath(), "Mivo");
    EXPECT_EQ(sxm_getDeviceMake(nullptr, 8), 0);
    EXPECT_EQ(sxm_getDeviceMake(buffer, 0), 0);
    EXPECT_EQ(sxm_getDeviceMake(buffer, -5), 0);

    // The library starts without a stored account in its own tests; null records are ours to
    // refuse.
    EXPECT_EQ(sxm_getAccount(nullptr), 0);
    sxm_setAccount(nullptr);
    sxm_freeAccount(nullptr);
}
