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

    static int start(const Block& key, int32_t iv)
    {
        sxm_decryptStart context{key.data(), static_cast<uint32_t>(key.size()), 0, iv};
        return sxm_decrypt_start(&context);
    }

    // Decrypts the first `length` bytes of `input` (modified in place) into a fresh buffer; the
    // buffer is cut to the count delivered.
    static Bytes process(Bytes& input, std::size_t length)
    {
        Bytes output(length, 0xEE);
        sxm_decryptProcess context{input.data(), static_cast<uint32_t>(length), output.data()};
        const int delivered = sxm_decrypt_process(&context);
        EXPECT_GE(delivered, 0);
        output.resize(static_cast<std::size_t>(std::max(delivered, 0)));
        return output;
    }
};

} // namespace

// Whole blocks, and a partial block carried over to the next call, are decrypted in the library's
// own tests through these hooks.
TEST_F(Decrypt, OutputMayBeTheInputBuffer)
{
    const Bytes plain = patternBytes(48, 3);
    Bytes data = encryptAes128Cbc(kTestKey, kZeroIv, plain);
    ASSERT_EQ(start(kTestKey, 0), 1);

    sxm_decryptProcess context{data.data(), static_cast<uint32_t>(data.size()), data.data()};
    EXPECT_EQ(sxm_decrypt_process(&context), 48);
    EXPECT_EQ(data, plain);
}

// The value becomes the vector sign-extended, big-endian over 16 bytes (written out by hand).
TEST_F(Decrypt, InitializationValueBecomesTheVector)
{
    const std::pair<int32_t, Block> cases[] = {
        {0x01020304, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01, 0x02, 0x03, 0x04}},
        {INT32_MIN,
         {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x80}}};
    for (const auto& [value, vector] : cases) {
        const Bytes plain = patternBytes(32, 11);
        Bytes cipher = encryptAes128Cbc(kTestKey, vector, plain);
        ASSERT_FALSE(cipher.empty());
        ASSERT_EQ(start(kTestKey, value), 1);
        EXPECT_EQ(process(cipher, cipher.size()), plain) << value;
        sxm_decrypt_done();
    }
}

TEST_F(Decrypt, NothingIsDeliveredOnceTheSegmentIsDone)
{
    Bytes cipher = encryptAes128Cbc(kTestKey, kZeroIv, patternBytes(32, 1));
    ASSERT_EQ(start(kTestKey, 0), 1);
    EXPECT_EQ(sxm_decrypt_done(), 1);

    EXPECT_TRUE(process(cipher, 32).empty());
}

TEST_F(Decrypt, UnusableStartsAndMissingBuffersAreRefusedAndDecryptNothing)
{
    const uint8_t shortKey[15] = {1};
    sxm_decryptStart context{shortKey, sizeof(shortKey), 0, 0};
    EXPECT_EQ(sxm_decrypt_start(&context), 0) << "wrong key length";
    Bytes cipher = encryptAes128Cbc(kTestKey, kZeroIv, patternBytes(32, 1));
    EXPECT_TRUE(process(cipher, 32).empty());

    // Only a zero vector together with no key means "not encrypted"; these starts are unusable.
    context = sxm_decryptStart{nullptr, 0, 0, 5};
    EXPECT_EQ(sxm_decrypt_start(&context), 0);
    context = sxm_decryptStart{nullptr, 16, 0, 0};
    EXPECT_EQ(sxm_decrypt_start(&context), 0);
    Bytes data = patternBytes(32, 1);
    EXPECT_TRUE(process(data, 32).empty()) << "data must not pass through undecrypted";

    EXPECT_EQ(sxm_decrypt_start(nullptr), 0);
    EXPECT_EQ(sxm_decrypt_process(nullptr), 0);
    ASSERT_EQ(start(kTestKey, 0), 1);
    sxm_decryptProcess noOutput{data.data(), 32, nullptr};
    EXPECT_EQ(sxm_decrypt_process(&noOutput), 0);
}
