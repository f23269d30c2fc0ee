#include "ModuleLocator.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

QStringList defaultModuleCandidates()
{
    static const QString name = QStringLiteral("libcb_sirius.so");
    QStringList candidates;
    const QString fromEnvironment = qEnvironmentVariable("MIVO_HOST_MODULE");
    if (!fromEnvironment.isEmpty())
        candidates << fromEnvironment;
    const QDir binary(QCoreApplication::applicationDirPath());
    candidates << binary.filePath(name)
               << QDir::cleanPath(binary.filePath(QStringLiteral("../lib/mivo-host/")) +
                                  QLatin1Char('/') + name);
#ifdef MIVO_HOST_BUILD_TREE_MODULE
    candidates << QStringLiteral(MIVO_HOST_BUILD_TREE_MODULE);
#endif
    return candidates;
}

QString findDefaultModule()
{
    for (const QString& candidate : defaultModuleCandidates()) {
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return QString();
}
