#include "ui/MessageBoxPrompt.h"

#include "gui/Operator.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QMessageBox>
#include <QPushButton>

#include <functional>

using namespace kestra;
using namespace kestra::test;

namespace {

// The connect sequence's question: instruction, text with escaped breaks,
// Yes/No, details behind the message's own labels.
PromptMessage reasonQuestion()
{
    PromptMessage m;
    m.caption = S("Marlowen Server Connection");
    m.icon = PromptIcon::Error;
    m.buttons = PromptButtons::YesNo;
    m.instruction = S("Kestra was unable to connect to the server \"\"Hall\"\".");
    m.text = S("Would you like to select a different server?\\nOr try again later.");
    m.details = S("The reason is:\rconnection refused");
    m.detailsCollapsedLabel = S("Show reason");
    m.detailsExpandedLabel = S("Hide reason");
    return m;
}

TEST(MessageBoxPromptTest, textsBreaksIconAndButtonsOfATaskDialogAndOfPlainBoxes)
{
    const auto question = MessageBoxPrompt::build(reasonQuestion(), nullptr);
    EXPECT_EQ(question->windowTitle(), S("Marlowen Server Connection"));
    EXPECT_EQ(question->text(), S("Kestra was unable to connect to the server \"\"Hall\"\"."));
    EXPECT_EQ(question->informativeText(), S("Would you like to select a different server?\nOr try again later."));
    EXPECT_EQ(question->escapeButton(), question->button(QMessageBox::No));
    EXPECT_EQ(question->detailedText(), S("The reason is:\nconnection refused"));
    EXPECT_EQ(question->textFormat(), Qt::PlainText);

    const struct {
        PromptButtons buttons;
        PromptIcon icon;
        QMessageBox::StandardButtons shownButtons;
        QMessageBox::StandardButton defaultButton;
        QMessageBox::Icon shownIcon;
    } cases[] = {
        {PromptButtons::Ok, PromptIcon::Error, QMessageBox::Ok, QMessageBox::Ok, QMessageBox::Critical},
        {PromptButtons::YesNo, PromptIcon::Question, QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes, QMessageBox::Question},
        {PromptButtons::YesNoDefaultNo, PromptIcon::Warning, QMessageBox::Yes | QMessageBox::No, QMessageBox::No, QMessageBox::Warning},
        {PromptButtons::Ok, PromptIcon::Information, QMessageBox::Ok, QMessageBox::Ok, QMessageBox::Information},
        {PromptButtons::Ok, PromptIcon::None, QMessageBox::Ok, QMessageBox::Ok, QMessageBox::NoIcon},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(int(c.shownIcon));
        PromptMessage m;
        m.caption = S("Data Validation Error");
        m.text = S("The connection to the server was lost.\r\rKestra will restart.\r\nNow.");
        m.buttons = c.buttons;
        m.icon = c.icon;
        const auto box = MessageBoxPrompt::build(m, nullptr);
        EXPECT_EQ(box->standardButtons(), c.shownButtons);
        EXPECT_EQ(box->defaultButton(), box->button(c.defaultButton));
        EXPECT_EQ(box->icon(), c.shownIcon);
        // A plain box has its text as the main line, broken at carriage returns.
        EXPECT_EQ(box->text(), S("The connection to the server was lost.\n\nKestra will restart.\nNow."));
        EXPECT_TRUE(box->informativeText().isEmpty());
    }
}

TEST(MessageBoxPromptTest, askAnswersWithTheButtonPressedOverItsOwner)
{
    QWidget owner;
    MessageBoxPrompt prompt(&owner);
    answerNext<QMessageBox>([&owner](QMessageBox &box) {
        EXPECT_EQ(box.parentWidget(), &owner);
        box.button(QMessageBox::No)->click();
    });
    EXPECT_EQ(prompt.ask(reasonQuestion()), PromptAnswer::No);
    answerNext<QMessageBox>([](QMessageBox &box) { box.button(QMessageBox::Yes)->click(); });
    EXPECT_EQ(prompt.ask(reasonQuestion()), PromptAnswer::Yes);
    // Escape on a question is No.
    answerNext<QMessageBox>([](QMessageBox &box) { box.reject(); });
    EXPECT_EQ(prompt.ask(reasonQuestion()), PromptAnswer::No);

    PromptMessage plain;
    plain.caption = S("Open Window Warning");
    plain.text = S("All windows must be closed before the server can be changed.");
    answerNext<QMessageBox>([](QMessageBox &box) { box.reject(); });
    EXPECT_EQ(prompt.ask(plain), PromptAnswer::Ok);
}

} // namespace
