#include "siriusSettings.h"

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoValue.h>

namespace {

// Settings are stored as the host's typed values, whose stored form is a hash.
MivoValue storedValue(const CMPath& path)
{
    return MivoValue(CMRoot()->getValue(path).toHash());
}

QString storedText(const CMPath& path)
{
    return storedValue(path).toString();
}

} // namespace

MivoSiriusAccount SiriusSettings::getAccount()
{
    return storedValue(MivoSiriusSettingsAccountPath()).siriusAccount();
}

void SiriusSettings::setAccount(const MivoSiriusAccount& account)
{
    MivoValue value;
    value.setSiriusAccount(account);
    CMRoot()->setValue(MivoSiriusSettingsAccountPath(), value);
}

QString SiriusSettings::getMAC()
{
    return storedText(MivoNetworkStateCurrentMAC());
}

QString SiriusSettings::getConfigUrl()
{
    return storedText(MivoSiriusSettingsConfigUrlPath());
}

QString SiriusSettings::getDeviceMake()
{
    return storedText(MivoSiriusSettingsDeviceMakePath());
}

QString SiriusSettings::getDeviceModel()
{
    return storedText(MivoSiriusSettingsDeviceModelPath());
}

QString SiriusSettings::getFixedKey()
{
    return storedText(MivoSiriusSettingsKeyPath());
}
