#pragma once

#include <QString>
#include <QtGlobal>

namespace kestra {

enum class PromptIcon { None, Information, Warning, Error, Question };
enum class PromptButtons { Ok, YesNo, YesNoDefaultNo };
enum class PromptAnswer { Ok, Yes, No };

// One modal message to the operator. A plain message box uses caption, text,
// icon and buttons. A task dialog also has an instruction (the bold line above
// the text) and may carry details behind an expander.
struct PromptMessage {
    QString caption;
    QString text;
    PromptIcon icon = PromptIcon::None;
    PromptButtons buttons = PromptButtons::Ok;
    QString instruction;
    QString details;
    QString detailsCollapsedLabel;
    QString detailsExpandedLabel;

    PromptAnswer defaultAnswer() const
    {
        return buttons == PromptButtons::Ok ? PromptAnswer::Ok : PromptAnswer::No;
    }
    // Caption, instruction, text and details in one line-broken text,
    // for logs and for the plain box fallback.
    QString fullText() const;
};

// Modal boxes of the operator program. In the windows this is a message box
// whose nested event loop keeps timers and datagrams served; headless it is a
// log line that takes the default answer; in tests a recorder.
class OperatorPrompt {
public:
    virtual ~OperatorPrompt() = default;
    // Shows the message and waits for the operator's answer.
    virtual PromptAnswer ask(const PromptMessage &message) = 0;
    // A message that needs no answer (device and program failures). It must
    // not hold up its caller: a timer or datagram handler that raised it goes
    // on, and the windows show it once that handler has returned.
    virtual void tell(const PromptMessage &message) { ask(message); }
};

// Writes each message as one line to standard error and answers with the
// default: OK, or No for a question. A told message that repeats the last one
// within a minute is counted instead of written again, so a dead port on an
// unattended station does not flood its log.
class LogPrompt final : public OperatorPrompt {
public:
    PromptAnswer ask(const PromptMessage &message) override;
    void tell(const PromptMessage &message) override;

private:
    void flushRepeats();
    QString m_lastTold;
    qint64 m_lastWrittenMs = 0;
    int m_repeats = 0;
};

// Turns the escaped line breaks of task dialog texts (the two characters
// backslash and n) into real line breaks.
QString expandTaskDialogBreaks(const QString &text);

} // namespace kestra
