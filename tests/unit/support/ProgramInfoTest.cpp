#include "support/ExeInfo.h"
#include "support/KestraAbout.h"

#include <gtest/gtest.h>

using namespace kestra;

TEST(ProgramInfo, TheTitleNamesVersionAndServerEvenWithoutAVersion)
{
    EXPECT_EQ(ExeInfo({QStringLiteral("2.3.4"), {}}).title(QStringLiteral("Arena")),
              QStringLiteral("Kestra v2.3.4 - Jumbotron Display Generator, Server: Arena"));
    EXPECT_EQ(ExeInfo().title(QStringLiteral("Arena")),
              QStringLiteral("Kestra v - Jumbotron Display Generator, Server: Arena"));
}

TEST(ProgramInfo, TheAboutWindowCutsTheNoticeBeforeAllRightsReserved)
{
    const struct {
        const char *notice;
        const char *shown;
    } cases[] = {
        {"Copyright (c) 2026 Corvane.  All rights reserved.", "Copyright (c) 2026 Corvane"},
        // Three characters go before the words, whatever they are.
        {"Copyright 2026 Corvane. All rights reserved.", "Copyright 2026 Corvan"},
        {"Copyright (c) 2026 Corvane", "Copyright (c) 2026 Corvane"},
        {"Copyright (c) 2026 Corvane. all rights reserved.", "Copyright (c) 2026 Corvane. all rights reserved."},
        {"All rights reserved.", ""},
        {"", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.notice);
        KestraAbout about({QStringLiteral("2.3.4"), QString::fromUtf8(c.notice)});
        EXPECT_EQ(about(QStringLiteral("lblCopyright")).text(), QString::fromUtf8(c.shown));
        EXPECT_EQ(about(QStringLiteral("lblVersion")).text(), QStringLiteral("Version 2.3.4"));
    }

    KestraAbout about;
    EXPECT_EQ(KestraAbout::Caption, QStringLiteral("About Kestra"));
    EXPECT_EQ(about(QStringLiteral("lblHeading")).text(), QStringLiteral("About Kestra"));
    EXPECT_EQ(about(QStringLiteral("lblProduct")).text(), QStringLiteral("Kestra"));
    EXPECT_EQ(about(QStringLiteral("lblDescription")).text(), QStringLiteral("Jumbotron Display Generator"));
    EXPECT_TRUE(about(QStringLiteral("lblDescription")).property(QStringLiteral("bold")).toBool());
    EXPECT_EQ(about(QStringLiteral("btnOK")).text(), QStringLiteral("&OK"));
    EXPECT_EQ(about(QStringLiteral("lblCopyright")).text(), QStringLiteral("Copyright (c) 2026 Corvane"))
        << "this build's notice";
    int closes = 0;
    QObject::connect(&about, &KestraAbout::closeRequested, [&] { ++closes; });
    about(QStringLiteral("btnOK")).click();
    EXPECT_EQ(closes, 1);
}
