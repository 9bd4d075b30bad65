#pragma once

#include "support/OperatorPrompt.h"

#include <QPointer>
#include <QWidget>

#include <deque>
#include <memory>

class QMessageBox;

namespace kestra {

// The operator's modal boxes in the windows: a message box over the owner
// window. A task dialog shows its instruction as the main line and its text
// below it, "\n" written as backslash and n becoming a line break, and its
// details behind a button with the message's own labels. exec() runs a
// nested event loop, so timers and datagrams go on being served while the
// box is up.
//
// A told message is not shown inside the handler that raised it: Qt does not
// fire a timer again while its own handler sits in a box's nested loop, so a
// failing send in the poll would stop the poll for as long as the box stood.
// Told messages are queued and shown one box at a time once control is back
// in the event loop; a message that is already queued or on screen is not
// queued again, its box counts the repeats instead.
class MessageBoxPrompt final : public OperatorPrompt {
public:
    explicit MessageBoxPrompt(QWidget *owner = nullptr) : m_owner(owner) {}

    void setOwner(QWidget *owner) { m_owner = owner; }
    PromptAnswer ask(const PromptMessage &message) override;
    void tell(const PromptMessage &message) override;

    // Told messages waiting or on screen, the one on screen first.
    int toldPending() const { return int(m_told.size()); }

    // The box as ask() shows it, not yet shown.
    static std::unique_ptr<QMessageBox> build(const PromptMessage &message, QWidget *owner);
    // The answer of a box that has been closed: Escape or the close box is
    // No on a question and OK otherwise.
    static PromptAnswer answerOf(const QMessageBox &box, const PromptMessage &message);

    // The text of a told box that came `times` times.
    static QString repeatedText(const QString &text, int times);

private:
    struct Told {
        PromptMessage message;
        int times = 1;
        QPointer<QMessageBox> box;
    };
    void showTold();

    QPointer<QWidget> m_owner;
    std::deque<Told> m_told;
    bool m_showScheduled = false;
    bool m_showing = false;
    QObject m_context;
};

} // namespace kestra
