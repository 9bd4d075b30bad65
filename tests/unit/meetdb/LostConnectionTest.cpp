#include "meetdb/LostConnection.h"
#include "meetdb/StoreError.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace kestra;
using kestra::test::RecordingPrompt;

TEST(ApplicationExceptionHandler, OnlyALostConnectionRestartsEverythingElseIsShownAndTheProgramGoesOn)
{
    const struct {
        const char *label;
        std::function<void()> fail;
        QString shown; // empty: the restart
    } cases[] = {
        {"database failure",
         [] { throw StoreError(StoreError::Kind::Database, StoreBackend::Postgres, "PostgreSQL store x: a table is missing"); },
         "PostgreSQL store x: a table is missing"},
        {"any other exception", [] { throw std::runtime_error("MySQL server has gone away"); },
         "MySQL server has gone away"},
        {"not even an exception class", [] { throw 42; }, "An unexpected error occurred."},
        {"lost connection",
         [] { throw StoreError(StoreError::Kind::ConnectionLost, StoreBackend::Postgres, "lost"); }, QString()},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        RecordingPrompt prompt;
        int timersOff = 0;
        int restarts = 0;
        LostConnectionHandler handler(prompt, {[&] { ++timersOff; }, [] { return QStringLiteral("Gym \"B\""); },
                                               [&] { ++restarts; }, [] { return QStringLiteral("Kestra v1.0"); }});
        EXPECT_FALSE(handler.guard(c.fail));
        ASSERT_EQ(prompt.messages.size(), 1u);
        const PromptMessage &m = prompt.messages.front();
        EXPECT_EQ(m.icon, PromptIcon::Error);
        EXPECT_EQ(m.buttons, PromptButtons::Ok);
        if (c.shown.isEmpty()) {
            EXPECT_EQ(m.caption, QStringLiteral("Marlowen Server Connection"));
            EXPECT_EQ(m.text, QStringLiteral("Kestra is no longer able to communicate with the server \"Gym \"B\"\".\r"
                                             "The connection to the server has been lost.\r\r"
                                             "Kestra will now be restarted."));
            EXPECT_EQ(timersOff, 1);
            EXPECT_EQ(restarts, 1);
            EXPECT_TRUE(handler.isRestarting());
            // On the way out a further failure is not told again.
            EXPECT_FALSE(handler.guard(c.fail));
            EXPECT_EQ(prompt.messages.size() + restarts, 2u);
        } else {
            EXPECT_EQ(m.caption, QStringLiteral("Kestra v1.0"));
            EXPECT_EQ(m.text, c.shown);
            EXPECT_EQ(timersOff, 0);
            EXPECT_EQ(restarts, 0);
            EXPECT_FALSE(handler.isRestarting());
            // The program goes on: the next failure is shown too.
            EXPECT_FALSE(handler.guard(c.fail));
            EXPECT_EQ(prompt.messages.size(), 2u);
        }
        EXPECT_TRUE(handler.guard([] {}));
    }
}
