#include "support/ExeInfo.h"
#include "support/KestraAbout.h"

#include <gtest/gtest.h>

using namespace kestra;

TEST(ProgramInfo, TheAboutWindowCutsTheNoticeBeforeAllRightsReserved)
{
    const struct {
        const char *notice;
        const char *shown;
    } cases[] = {
        {"Copyright (c) 2026 Corvane.  All rights reserved.", "Copyright (c) 2026 Corvane"},
        {"Copyright 2026 Corvane. All rights reserved.", "Copyright 2026 Corvan"}, // three characters go, whatever they are
        {"Copyright (c) 2026 Corvane", "Copyright (c) 2026 Corvane"},
        {"Copyright (c) 2026 Corvane. all rights reserved.", "Copyright (c) 2026 Corvane. all rights reserved."},
        {"All rights reserved.", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.notice);
        KestraAbout about({QStringLiteral("2.3.4"), QString::fromUtf8(c.notice)});
        EXPECT_EQ(about(QStringLiteral("lblCopyright")).text(), QString::fromUtf8(c.shown));
    }
}
