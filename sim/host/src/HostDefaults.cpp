#include "HostDefaults.h"

#include "HostRoot.h"

#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoValue.h>

#include <QNetworkInterface>

namespace {

/// The MAC of the first interface that has one; a locally administered address otherwise, so
/// that a container without network devices still answers a well-formed MAC.
QString networkMac()
{
    for (const QNetworkInterface& interface : QNetworkInterface::allInterfaces()) {
        if (interface.flags().testFlag(QNetworkInterface::IsLoopBack))
            continue;
        const QString mac = interface.hardwareAddress().toLower();
        if (mac.size() == 17 && mac != QLatin1String("00:00:00:00:00:00"))
            return mac;
    }
    return QStringLiteral("02:00:00:00:00:01");
}

} // namespace

const char* defaultFixedKeyHex()
{
    return "53584d2d44454d4f2d46495845442d4b";
}

void applyHostDefaults(HostRoot& root)
{
    auto text = [](const QString& value) {
        return MivoValue().setString(value).__variant();
    };
    root.setDefault(MivoSiriusSettingsDeviceMakePath(), text(QStringLiteral("Mivo")));
    root.setDefault(MivoSiriusSettingsDeviceModelPath(), text(QStringLiteral("mivo-host")));
    root.setDefault(MivoSiriusSettingsKeyPath(), text(QLatin1String(defaultFixedKeyHex())));
    root.setDefault(MivoSiriusSettingsFullFeaturedPath(), MivoValue().setBool(true).__variant());
    root.setDefault(MivoSiriusSettingsAudioBitrateConfig(),
                    MivoValue().setSiriusAudioBitrate(MivoSiriusAudioBitrate::Default).__variant());
    root.setDefault(MivoSiriusSettingsTuneStart(), MivoValue().setBool(true).__variant());

    root.setValue(MivoSystemIdleTimePath(), MivoValue().setInt(0).__variant());
    root.setValue(MivoNetworkStateCurrentMAC(), text(networkMac()));
}
