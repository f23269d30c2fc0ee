// Cryptography and stream-decryption hooks of the client library (declared in sxmlib.h):
// AES-128-CBC through libgcrypt.
//
// Thread contract: the library decrypts one stream at a time, so the cipher handle is one
// process-wide object without a lock; the hooks may be called from any one thread at a time.

#include "siriusLogging.h"

#include <sxmlib.h>

#include <gcrypt.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstring>
#include <memory>
#include <type_traits>

namespace {

constexpr std::size_t kBlockSize = 16;
constexpr int kAes128KeyLength = 16;

struct CipherClose
{
    void operator()(gcry_cipher_hd_t handle) const { gcry_cipher_close(handle); }
};
using CipherPtr = std::unique_ptr<std::remove_pointer_t<gcry_cipher_hd_t>, CipherClose>;

// The open cipher of the segment being decrypted; empty between segments.
CipherPtr openCipher;
// False once the library has said that the stream is not encrypted; never set back, so all later
// data passes through unchanged.
std::atomic<bool> decryptionEnabled{true};

const log4cplus::Logger& logger()
{
    return sirius::siriusLibraryLogger();
}

// The vector is the initialization value, sign-extended, as a 16-byte big-endian number.
std::array<unsigned char, kBlockSize> initializationVector(int32_t value)
{
    std::array<unsigned char, kBlockSize> vector{};
    int64_t remaining = value;
    for (std::size_t i = kBlockSize; i-- > 0;) {
        vector[i] = static_cast<unsigned char>(remaining & 0xFF);
        remaining >>= 8; // arithmetic shift: a negative value fills with 0xFF bytes
    }
    return vector;
}

CipherPtr openAes128Cbc()
{
    gcry_cipher_hd_t handle = nullptr;
    const gcry_error_t error = gcry_cipher_open(&handle, GCRY_CIPHER_AES, GCRY_CIPHER_MODE_CBC,
                                                GCRY_CIPHER_SECURE | GCRY_CIPHER_ENABLE_SYNC);
    if (error) {
        LOG4CPLUS_ERROR(logger(), "gcry_cipher_open failed: " << gcry_strerror(error));
        return nullptr;
    }
    return CipherPtr(handle);
}

bool isStreamUnencrypted(const sxm_decryptStart& context)
{
    return context.keyLength == 0 && context.iv == 0 && context.ivHigh == 0;
}

// Whole blocks, one per call, in place: CBC chaining carries over to the next call because the
// handle keeps the last cipher block.
bool decryptWholeBlocks(gcry_cipher_hd_t handle, uint8_t* data, std::size_t length)
{
    for (std::size_t offset = 0; offset < length; offset += kBlockSize) {
        const gcry_error_t error =
            gcry_cipher_decrypt(handle, data + offset, kBlockSize, nullptr, 0);
        if (error) {
            LOG4CPLUS_ERROR(logger(), "gcry_cipher_decrypt failed: " << gcry_strerror(error));
            return false;
        }
    }
    return true;
}

bool hasBuffersFor(const sxm_decryptProcess& context, std::size_t length)
{
    if (length == 0 || (context.input && context.output))
        return true;
    LOG4CPLUS_ERROR(logger(), "sxm_decrypt_process without input or output buffer");
    return false;
}

} // namespace

extern "C" {

int sxm_cr_init(void)
{
    if (!gcry_check_version("1.8.4")) {
        LOG4CPLUS_FATAL(logger(), "libgcrypt " << gcry_check_version(nullptr)
                                               << " is too old: 1.8.4 or later required");
        return -1;
    }
    gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    return 1;
}

int sxm_cipher_get_algo_keylen(void)
{
    return kAes128KeyLength;
}

int sxm_decrypt_start(sxm_decryptStart* context)
{
    if (!context) {
        LOG4CPLUS_ERROR(logger(), "sxm_decrypt_start without a context");
        return 0;
    }
    if (isStreamUnencrypted(*context))
        decryptionEnabled = false;
    openCipher.reset();
    // Opening a cipher before initialisation would let libgcrypt initialise itself with secure
    // memory switched on, which this process never sets up.
    if (!gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) {
        LOG4CPLUS_ERROR(logger(), "sxm_decrypt_start called before sxm_cr_init");
        return 0;
    }
    openCipher = openAes128Cbc();
    if (!openCipher)
        return 0;
    // Without a key nothing can be decrypted; for an unencrypted stream that is expected, and
    // the pass-through switched on above takes over.
    if (context->keyLength == 0) {
        LOG4CPLUS_DEBUG(logger(), "sxm_decrypt_start without a key");
        return 0;
    }
    if (!context->key) {
        LOG4CPLUS_ERROR(logger(), "sxm_decrypt_start with a key length but no key");
        return 0;
    }
    if (const gcry_error_t error =
            gcry_cipher_setkey(openCipher.get(), context->key, context->keyLength)) {
        LOG4CPLUS_ERROR(logger(), "gcry_cipher_setkey failed: " << gcry_strerror(error));
        return 0;
    }
    if (context->iv != 0) {
        const std::array<unsigned char, kBlockSize> vector = initializationVector(context->iv);
        if (const gcry_error_t error =
                gcry_cipher_setiv(openCipher.get(), vector.data(), vector.size())) {
            LOG4CPLUS_ERROR(logger(), "gcry_cipher_setiv failed: " << gcry_strerror(error));
            return 0;
        }
    }
    return 1;
}

int sxm_decrypt_process(sxm_decryptProcess* context)
{
    if (!context) {
        LOG4CPLUS_ERROR(logger(), "sxm_decrypt_process without a context");
        return 0;
    }
    // The result is an int: a longer buffer could not report what was delivered.
    if (context->length > static_cast<uint32_t>(INT_MAX)) {
        LOG4CPLUS_ERROR(logger(), "sxm_decrypt_process buffer too long: " << context->length);
        return 0;
    }
    if (!decryptionEnabled) {
        if (!hasBuffersFor(*context, context->length))
            return 0;
        if (context->length > 0)
            std::memmove(context->output, context->input, context->length);
        return static_cast<int>(context->length);
    }
    if (!openCipher)
        return 0;
    // A trailing partial block stays with the library, which presents it again with more data.
    const std::size_t whole = context->length - context->length % kBlockSize;
    if (!hasBuffersFor(*context, whole))
        return 0;
    if (!decryptWholeBlocks(openCipher.get(), context->input, whole))
        return 0;
    if (whole > 0)
        std::memmove(context->output, context->input, whole);
    return static_cast<int>(whole);
}

int sxm_decrypt_done(void)
{
    if (decryptionEnabled)
        openCipher.reset();
    return 1;
}

} // extern "C"
