#include "PathAliases.h"

#include <mivosdk/MivoPaths.h>

QList<QPair<QString, CMPath>> pathAliases()
{
    return {
        {QStringLiteral("browse"), MivoSiriusBrowsePath()},
        {QStringLiteral("account"), MivoSiriusAccountPath()},
        {QStringLiteral("playlogic"), MivoSiriusPlayLogicPath()},
        {QStringLiteral("golive"), MivoSiriusGoLivePath()},
        {QStringLiteral("favorite"), MivoSiriusFavoritePath()},
        {QStringLiteral("clearrecents"), MivoSiriusClearRecentsPath()},
    };
}

bool resolvePath(const QString& text, CMPath* path, QString* error)
{
    for (const auto& alias : pathAliases()) {
        if (alias.first == text) {
            *path = alias.second;
            return true;
        }
    }
    if (!text.startsWith(QLatin1Char('/'))) {
        *error = QStringLiteral("\"%1\" is neither a path (starting with /) nor one of the aliases "
                                "browse, account, playlogic, golive, favorite, clearrecents")
                     .arg(text);
        return false;
    }
    *path = CMPath::fromEncoded(text);
    return true;
}
