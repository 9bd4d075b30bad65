#pragma once

#include "support/OperatorPrompt.h"

#include <QPointer>
#include <QWidget>

#include <memory>

class QMessageBox;

namespace kestra {

// The operator's modal boxes in the windows: a message box over the owner
// window. A task dialog shows its instruction as the main line and its text
// below it, "\n" written as backslash and n becoming a line break, and its
// details behind a button with the message's own labels. exec() runs a
// nested event loop, so timers and datagrams go on being served while the
// box is up.
class MessageBoxPrompt final : public OperatorPrompt {
public:
    explicit MessageBoxPrompt(QWidget *owner = nullptr) : m_owner(owner) {}

    void setOwner(QWidget *owner) { m_owner = owner; }
    PromptAnswer ask(const PromptMessage &message) override;

    // The box as ask() shows it, not yet shown.
    static std::unique_ptr<QMessageBox> build(const PromptMessage &message, QWidget *owner);
    // The answer of a box that has been closed: Escape or the close box is
    // No on a question and OK otherwise.
    static PromptAnswer answerOf(const QMessageBox &box, const PromptMessage &message);

private:
    QPointer<QWidget> m_owner;
};

} // namespace kestra
