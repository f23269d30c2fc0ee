// Segment decryption through sxm_decrypt_start / sxm_decrypt_process against data encrypted with
// libgcrypt in the test. The process-wide pass-through switch is tested in a process of its own
// (decryptPassThroughTest.cpp), since it never switches back.

#include "aesTestData.h"

#include <sxmlib.h>

#include <gtest/gtest.h>

#include <algorithm>

using sirius::test::Block;
using sirius::test::Bytes;
using sirius::test::encryptAes128Cbc;
using sirius::test::kTestKey;
using sirius::test::kZeroIv;
using sirius::test::patternBytes;

namespace {

class Decrypt : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_EQ(sxm_cr_init(), 1); }
    void TearDown() override { sxm_decrypt_done(); }

    static int start(const uint8_t* key, uint32_t keyLength, int32_t iv)
    {
        sxm_decryptStart context{key, keyLength, 0, iv};
        return sxm_decrypt_start(&context);
    }
    /// Decrypts `input` in place into a fresh buffer, cut to the count delivered.
    static Bytes process(Bytes input)
    {
        Bytes output(input.size(), 0xEE);
        sxm_decryptProcess context{input.data(), uint32_t(input.size()), output.data()};
        output.resize(std::size_t(std::max(sxm_decrypt_process(&context), 0)));
        return output;
    }
};

} // namespace

// Whole blocks, and a partial block carried over to the next call, are decrypted in the library's
// own tests through these hooks. The vector is the value sign-extended, big-endian over 16 bytes
// (written out by hand); the output may be the input buffer.
TEST_F(Decrypt, TheInitializationValueBecomesTheVectorAndOutputMayBeTheInput)
{
    const std::pair<int32_t, Block> cases[] = {
        {0, kZeroIv},
        {0x01020304, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01, 0x02, 0x03, 0x04}},
        {INT32_MIN,
         {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x80}}};
    for (const auto& [value, vector] : cases) {
        const Bytes plain = patternBytes(48, 11);
        Bytes data = encryptAes128Cbc(kTestKey, vector, plain);
        ASSERT_EQ(start(kTestKey.data(), 16, value), 1);
        sxm_decryptProcess inPlace{data.data(), uint32_t(data.size()), data.data()};
        EXPECT_EQ(sxm_decrypt_process(&inPlace), 48) << value;
        EXPECT_EQ(data, plain) << value;
        sxm_decrypt_done();
    }
}

// Only a zero vector together with no key means "not encrypted"; every other unusable start, and a
// segment already done, must not let data through undecrypted.
TEST_F(Decrypt, UnusableStartsMissingBuffersAndDoneSegmentsDeliverNothing)
{
    const Bytes cipher = encryptAes128Cbc(kTestKey, kZeroIv, patternBytes(32, 1));
    const uint8_t shortKey[15] = {1};
    EXPECT_EQ(start(shortKey, sizeof(shortKey), 0), 0) << "wrong key length";
    EXPECT_TRUE(process(cipher).empty());
    EXPECT_EQ(start(nullptr, 0, 5), 0) << "a vector without a key";
    EXPECT_TRUE(process(cipher).empty());
    EXPECT_EQ(start(nullptr, 16, 0), 0) << "a key length without a key";
    EXPECT_TRUE(process(cipher).empty());

    ASSERT_EQ(start(kTestKey.data(), 16, 0), 1);
    EXPECT_EQ(sxm_decrypt_done(), 1);
    EXPECT_TRUE(process(cipher).empty()) << "the segment is done";

    EXPECT_EQ(sxm_decrypt_start(nullptr), 0);
    EXPECT_EQ(sxm_decrypt_process(nullptr), 0);
    ASSERT_EQ(start(kTestKey.data(), 16, 0), 1);
    Bytes data = cipher;
    sxm_decryptProcess noOutput{data.data(), 32, nullptr};
    EXPECT_EQ(sxm_decrypt_process(&noOutput), 0);
}
