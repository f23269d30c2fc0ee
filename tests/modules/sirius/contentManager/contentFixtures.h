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
    void script(const std::string& operation, std::function<void(const sxm_callbacks&)> during)
    {
        std::lock_guard<std::mutex> lock(fake::library().mutex);
        fake::library().during[operation] = std::move(during);
    }
    void result(const std::string& operation, int value)
    {
        std::lock_guard<std::mutex> lock(fake::library().mutex);
        fake::library().results[operation] = value;
    }
    int calls(const std::string& name)
    {
        const auto all = fake::library().callsSnapshot();
        return int(std::count(all.begin(), all.end(), name));
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
