#include "syntheticLineUp.h"

namespace bench {

QList<MivoSiriusContent> lineUp(int channels, int genres, Numbering numbering)
{
    QList<MivoSiriusContent> records;
    for (int i = 0; i < channels; ++i) {
        for (int listing = 0; listing < (i % 5 == 0 ? 2 : 1); ++listing) {
            const int genre = (i + listing * 3) % genres;
            MivoSiriusContent content;
            content.setAssetType(MivoSiriusAssetType::LiveChannel)
                .setChannelId(QStringLiteral("ch%1").arg(i))
                .setAssetGuid(QStringLiteral("guid-%1").arg(i))
                .setTitle(QStringLiteral("Channel %1").arg((i * 7919) % channels))
                .setDescription(QStringLiteral("The music of channel %1").arg(i))
                .setGenre(QStringLiteral("Genre %1").arg(genre))
                .setGenreKey(QStringLiteral("genre%1").arg(genre))
                .setCategory(QStringLiteral("Music"))
                .setSiriusChannelNumber(numbering == Numbering::InOrder ? i + 1
                                                                        : (i * 31) % 1000 + 1)
                .setSortOrder(i)
                .setLogos({MivoSiriusLogo()
                               .setUrl(QStringLiteral("http://x/%1/300.png").arg(i))
                               .setWidth(300)
                               .setHeight(300),
                           MivoSiriusLogo()
                               .setUrl(QStringLiteral("http://x/%1/100.png").arg(i))
                               .setWidth(100)
                               .setHeight(100)});
            records.append(content);
        }
    }
    records.append(MivoSiriusContent()); // end mark
    return records;
}

} // namespace bench
