#include "Tests/Support/PrivateHome.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <QFile>

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// The manual as man(1) shows it, with what man has to say of its source.
static Ended formatted()
{
    const auto file = PrivateHome::current().makeFolder("manual") / "tamselctl.1";
    EXPECT_EQ(tamselctl({"--man"}, file.native()).exitCode, 0);
    QProcess man;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MANWIDTH"), QStringLiteral("80"));
    environment.insert(QStringLiteral("MANPAGER"), QStringLiteral("cat"));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    man.setProcessEnvironment(environment);
    man.start(QStringLiteral("man"),
              {QStringLiteral("--warnings"), QStringLiteral("-l"), QString::fromStdString(file.native())});
    EXPECT_TRUE(man.waitForFinished());
    return {man.exitCode(), man.readAllStandardOutput().toStdString(), man.readAllStandardError().toStdString()};
}

TEST(ManualPage, manual_isFormattedWithoutAWarning)
{
    const Ended page = formatted();
    EXPECT_EQ(page.exitCode, 0);
    EXPECT_THAT(page.err, IsEmpty());
    EXPECT_THAT(page.out, HasSubstr("tamselctl - ask and tell Tamsel"));
    EXPECT_THAT(page.out, HasSubstr("--count N"));
    EXPECT_THAT(page.out, HasSubstr("foldersToAdd+=\"$HOME/Documents\""));
    EXPECT_THAT(page.out, HasSubstr("\\udc80 to \\udcff"));
}

TEST(ManualPage, everyParagraphOfHelp_isInTheManual)
{
    std::string page = formatted().out;
    const auto words = [](const std::string &text) {
        return QString::fromStdString(text).remove(QStringLiteral("\u2010\n")).simplified().remove(u' ');
    };
    const QString manual = words(page);
    for (const char *verb : {"post", "listen"}) {
        const QString help = QString::fromStdString(tamselctl({verb, "--help"}).out);
        for (const QString &paragraph : help.split(QStringLiteral("\n\n")).mid(1)) {
            if (paragraph.startsWith(QStringLiteral("Options:")))
                continue;
            EXPECT_TRUE(manual.contains(words(paragraph.toStdString()))) << paragraph.toStdString();
        }
    }
}
