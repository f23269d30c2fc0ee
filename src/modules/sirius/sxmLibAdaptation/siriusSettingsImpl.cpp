#include "siriusSettingsImpl.h"

#include "siriusLogging.h"
#include "siriusSettings.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>

namespace {

// One text of the library's account record and the matching field of the host's account.
struct AccountField
{
    char* sxm_account::*text;
    std::function<QString(const MivoSiriusAccount&)> read;
    std::function<void(MivoSiriusAccount&, const QString&)> write;
};

// In the library record's order.
const std::array<AccountField, 8>& accountFields()
{
    static const std::array<AccountField, 8> fields{{
        {&sxm_account::username, &MivoSiriusAccount::username,
         [](MivoSiriusAccount& a, const QString& v) {
             a.setUsername(v);
         }},
        {&sxm_account::password, &MivoSiriusAccount::password,
         [](MivoSiriusAccount& a, const QString& v) {
             a.setPassword(v);
         }},
        {&sxm_account::consumerType, &MivoSiriusAccount::consumerType,
         [](MivoSiriusAccount& a, const QString& v) {
             a.setConsumerType(v);
         }},
        {&sxm_account::newPassword, &MivoSiriusAccount::newPassword,
         [](MivoSiriusAccount& a, const QString& v) {
             a.setNewPassword(v);
         }},
        {&sxm_account::registrationId, &MivoSiriusAccount::registrationId,
         [](MivoSiriusAccount& a, const QString& v) {
             a.setRegistrationId(v);
         }},
        {&sxm_account::registrationKey, &MivoSiriusAccount::registrationKey,
         [](MivoSiriusAccount& a, const QString& v) {
             a.setRegistrationKey(v);
         }},
        {&sxm_account::email, &MivoSiriusAccount::email,
         [](MivoSiriusAccount& a, const QString& v) {
             a.setEmail(v);
         }},
        {&sxm_account::zip, &MivoSiriusAccount::zip,
         [](MivoSiriusAccount& a, const QString& v) {
             a.setZip(v);
         }},
    }};
    return fields;
}

struct FreeDeleter
{
    void operator()(char* text) const { std::free(text); }
};
using HeapText = std::unique_ptr<char, FreeDeleter>;

// A zero-terminated heap copy that the library hands back to sxm_freeAccount.
HeapText zeroTerminatedCopy(const QByteArray& bytes)
{
    HeapText copy(static_cast<char*>(std::calloc(static_cast<std::size_t>(bytes.size()) + 1, 1)));
    if (copy)
        std::memcpy(copy.get(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return copy;
}

// The shared contract of the text hooks: the library passes a zeroed buffer or uses the count,
// so no terminating zero is written (it might not fit).
int copyText(const QString& text, char* buffer, int size)
{
    if (!buffer || size < 1)
        return 0;
    const QByteArray bytes = text.toLatin1();
    const int count = std::min(bytes.size(), size);
    std::memcpy(buffer, bytes.constData(), static_cast<std::size_t>(count));
    return count;
}

int copyAndLogText(const QString& text, char* buffer, int size, const char* prefix)
{
    const int count = copyText(text, buffer, size);
    LOG4CPLUS_INFO(sirius::siriusLibraryLogger(),
                   prefix << (count > 0 ? std::string(buffer, static_cast<std::size_t>(count))
                                        : std::string()));
    return count;
}

bool rejectNullAccount(const sxm_account* account, const char* function)
{
    if (account)
        return false;
    LOG4CPLUS_ERROR(sirius::siriusLibraryLogger(), function << " called without an account record");
    return true;
}

} // namespace

int platformGetAccount(sxm_account* account)
{
    if (rejectNullAccount(account, "platformGetAccount"))
        return 0;
    const MivoSiriusAccount stored = SiriusSettings::getAccount();
    // All eight copies are made before the record is touched: on failure the record holds no
    // pointer at all, never a mix of new texts and whatever the library left in it.
    std::array<HeapText, 8> copies;
    for (std::size_t i = 0; i < copies.size(); ++i) {
        copies[i] = zeroTerminatedCopy(accountFields()[i].read(stored).toLatin1());
        if (!copies[i]) {
            std::memset(account, 0, sizeof(*account));
            LOG4CPLUS_ERROR(sirius::siriusLibraryLogger(), "platformGetAccount: out of memory");
            return 0;
        }
    }
    for (std::size_t i = 0; i < copies.size(); ++i)
        account->*accountFields()[i].text = copies[i].release();
    return 1;
}

void platformSetAccount(sxm_account* account)
{
    if (rejectNullAccount(account, "platformSetAccount"))
        return;
    MivoSiriusAccount stored;
    for (const AccountField& field : accountFields())
        field.write(stored, QString::fromLatin1(account->*field.text));
    SiriusSettings::setAccount(stored);
}

void platformFreeAccount(sxm_account* account)
{
    if (!account)
        return;
    for (const AccountField& field : accountFields()) {
        std::free(account->*field.text);
        account->*field.text = nullptr;
    }
}

int platformGetMAC(char* buffer, int size)
{
    return copyText(SiriusSettings::getMAC(), buffer, size);
}

int platformGetConfigUrl(char* buffer, int size)
{
    return copyAndLogText(SiriusSettings::getConfigUrl(), buffer, size,
                          "platformGetConfigUrl url = ");
}

int platformGetDeviceMake(char* buffer, int size)
{
    return copyAndLogText(SiriusSettings::getDeviceMake(), buffer, size,
                          "platformGetDeviceMake url = ");
}

int platformGetDeviceModel(char* buffer, int size)
{
    return copyAndLogText(SiriusSettings::getDeviceModel(), buffer, size,
                          "platformGetDeviceModel url = ");
}

int platformGetFixedKey(char* buffer, int size)
{
    return copyAndLogText(SiriusSettings::getFixedKey(), buffer, size,
                          "platformGetFixedKey Key = ");
}

extern "C" {

int sxm_getAccount(sxm_account* account)
{
    return platformGetAccount(account);
}

void sxm_setAccount(sxm_account* account)
{
    platformSetAccount(account);
}

void sxm_freeAccount(sxm_account* account)
{
    platformFreeAccount(account);
}

int sxm_GetMAC(char* buffer, int size)
{
    return platformGetMAC(buffer, size);
}

int sxm_getConfigUrl(char* buffer, int size)
{
    return platformGetConfigUrl(buffer, size);
}

int sxm_getDeviceMake(char* buffer, int size)
{
    return platformGetDeviceMake(buffer, size);
}

int sxm_getDeviceModel(char* buffer, int size)
{
    return platformGetDeviceModel(buffer, size);
}

int sxm_getFixedKey(char* buffer, int size)
{
    return platformGetFixedKey(buffer, size);
}

} // extern "C"
