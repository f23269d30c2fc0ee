#pragma once
// Thread contract: test thread only.

#include "contentManager/contentManager.h"
#include "siriusLib/siriusLib.h"

#include "QtTestSupport.h"
#include "fakeSxmLib.h"

#include <QDateTime>
#include <gtest/gtest.h>

namespace fixtures {

inline MivoSiriusContent channel(const QString& id, const QString& genre, int number,
                                 MivoSiriusAssetType::Enum type = MivoSiriusAssetType::LiveChannel)
{
    MivoSiriusContent content;
    content.setAssetType(type)
        .setChannelId(id)
        .setAssetGuid(QStringLiteral("guid-") + id)
        .setTitle(QStringLiteral("Title ") + id)
        .setDescription(QStringLiteral("About ") + id)
        .setGenre(genre)
        .setGenreKey(genre.toLower())
        .setGenreIcon(QStringLiteral("icon-") + genre)
        .setGenreSortOrder(genre.size())
        .setCategory(QStringLiteral("Music"))
        .setSiriusChannelNumber(number)
        .setSortOrder(100 - number);
    return content;
}

inline QStringList titles(const QList<MivoRoles>& rows)
{
    QStringList list;
    for (const MivoRoles& row : rows)
        list << row.title();
    return list;
}

/// The last program-data call made to the library ("sxm_st..."), or an empty text.
inline std::string lastPdtCall()
{
    const std::vector<std::string> calls = fake::library().callsSnapshot();
    for (auto call = calls.rbegin(); call != calls.rend(); ++call) {
        if (call->rfind("sxm_st", 0) == 0)
            return *call;
    }
    return std::string();
}

/// A content manager over a bridge on this thread, with the scripted fake library behind it.
class ContentManagerTest : public ::testing::Test
{
protected:
    void SetUp() override { fake::reset(); }
    void load(const QList<MivoSiriusContent>& channels)
    {
        for (const MivoSiriusContent& content : channels)
            manager.on_siriusLib_channel(content);
        manager.on_siriusLib_channel(MivoSiriusContent());
    }
    /// Registers the bridge's callbacks with the fake (so scripted lists reach it).
    void registerCallbacks()
    {
        ASSERT_TRUE(lib.initialize(MivoSiriusAudioBitrate::Kbps64).waitForFinished(1000));
    }

    SiriusLib lib{true};
    ContentManager manager{&lib, true};
};

} // namespace fixtures
