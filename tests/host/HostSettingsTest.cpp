// HostRoot with its SettingsFile: what is kept across runs, and what a bad file does.

#include "HostRoot.h"

#include <mivosdk/MivoValue.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

namespace {

QVariant text(const QString& value)
{
    return MivoValue().setString(value).__variant();
}

class HostSettings : public ::testing::Test
{
protected:
    QString fileName() const { return m_dir.filePath(QStringLiteral("settings.json")); }
    std::unique_ptr<HostRoot> start(QString* message = nullptr)
    {
        auto root = std::make_unique<HostRoot>();
        const QString said = root->attachSettingsFile(std::make_unique<SettingsFile>(fileName()));
        if (message)
            *message = said;
        return root;
    }
    QByteArray fileBytes() const
    {
        QFile file(fileName());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(HostSettings, SettingsSurviveARestartButStateDefaultsAndOverridesDoNot)
{
    {
        auto root = start();
        root->setValue(CMPath("/settings/url"), text(QStringLiteral("saved")));
        root->setValue(CMPath("/system/idleTime"), MivoValue().setInt(5).__variant());
    }
    {
        auto root = start();
        root->setDefault(CMPath("/settings/url"), text(QStringLiteral("default")));
        EXPECT_EQ(MivoValue(root->getValue(CMPath("/settings/url")).toHash()).toString(),
                  QStringLiteral("saved"));
        EXPECT_FALSE(root->getValue(CMPath("/system/idleTime")).isValid());
        root->setDefault(CMPath("/settings/make"), text(QStringLiteral("Mivo")));
        root->setTransient(CMPath("/settings/url"), text(QStringLiteral("override")));
        root->setValue(CMPath("/settings/other"), text(QStringLiteral("x")));
        const QByteArray saved = fileBytes();
        EXPECT_TRUE(saved.contains("saved"));
        EXPECT_FALSE(saved.contains("override"));
        EXPECT_FALSE(saved.contains("/settings/make"));
        // A change after the override is a real setting again.
        root->setValue(CMPath("/settings/url"), text(QStringLiteral("changed")));
    }
    EXPECT_TRUE(fileBytes().contains("changed"));
}

TEST_F(HostSettings, ACorruptFileIsMovedAsideNeverOverwritten)
{
    // Not JSON at all, and well-formed JSON with a setting the host cannot place.
    for (const QByteArray& bad :
         {QByteArray("{ broken"),
          QByteArray(R"({"format": 1, "settings": {"relative/path": 1}})")}) {
        {
            QFile file(fileName());
            ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(bad);
        }
        QString message;
        auto root = start(&message);
        EXPECT_TRUE(message.contains(QStringLiteral("corrupt"))) << message.toStdString();
        EXPECT_FALSE(QFile::exists(fileName()));
        root->setValue(CMPath("/settings/fresh"), text(QStringLiteral("y")));
        EXPECT_TRUE(fileBytes().contains("fresh"));

        const QStringList aside =
            QDir(m_dir.path()).entryList({QStringLiteral("settings.json.corrupt-*")});
        ASSERT_FALSE(aside.isEmpty());
        bool kept = false;
        for (const QString& name : aside) {
            QFile file(m_dir.filePath(name));
            kept |= file.open(QIODevice::ReadOnly) && file.readAll() == bad;
        }
        EXPECT_TRUE(kept) << bad.toStdString();
        QFile::remove(fileName());
    }
}
