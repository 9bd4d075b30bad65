#include "ui/MessageBoxPrompt.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QEvent>
#include <QPointer>
#include <QPushButton>
#include <QTextEdit>

#include <memory>

namespace kestra {

namespace {

QMessageBox::Icon iconOf(PromptIcon icon)
{
    switch (icon) {
    case PromptIcon::Information: return QMessageBox::Information;
    case PromptIcon::Warning: return QMessageBox::Warning;
    case PromptIcon::Error: return QMessageBox::Critical;
    case PromptIcon::Question: return QMessageBox::Question;
    case PromptIcon::None: break;
    }
    return QMessageBox::NoIcon;
}

// The button that opens the details: QMessageBox adds it with the action
// role and relabels it on each click.
QAbstractButton *detailsButton(const QMessageBox &box)
{
    for (QAbstractButton *button : box.buttons()) {
        if (box.buttonRole(button) == QMessageBox::ActionRole)
            return button;
    }
    return nullptr;
}

// The box relabels its details button with its own words, then shows or
// hides the details; the message's labels follow the details' visibility.
class DetailsLabels final : public QObject {
public:
    DetailsLabels(QWidget *details, QAbstractButton *button, QString collapsed, QString expanded)
        : QObject(details), m_button(button), m_collapsed(std::move(collapsed)), m_expanded(std::move(expanded))
    {
        details->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (m_button && (event->type() == QEvent::Show || event->type() == QEvent::Hide))
            m_button->setText(event->type() == QEvent::Show ? m_expanded : m_collapsed);
        return QObject::eventFilter(watched, event);
    }

private:
    QPointer<QAbstractButton> m_button;
    QString m_collapsed;
    QString m_expanded;
};

// Messages break lines with "\r" as the old message boxes did; a plain-text
// label ignores it, so every break becomes "\n".
QString boxText(const QString &text)
{
    QString shown = expandTaskDialogBreaks(text);
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    shown.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return shown;
}

} // namespace

std::unique_ptr<QMessageBox> MessageBoxPrompt::build(const PromptMessage &message, QWidget *owner)
{
    auto box = std::make_unique<QMessageBox>(owner);
    box->setWindowTitle(message.caption);
    box->setIcon(iconOf(message.icon));
    box->setTextFormat(Qt::PlainText);
    if (message.instruction.isEmpty()) {
        box->setText(boxText(message.text));
    } else {
        box->setText(boxText(message.instruction));
        box->setInformativeText(boxText(message.text));
    }
    if (message.buttons == PromptButtons::Ok) {
        box->setStandardButtons(QMessageBox::Ok);
        box->setDefaultButton(QMessageBox::Ok);
        box->setEscapeButton(QMessageBox::Ok);
    } else {
        box->setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        box->setDefaultButton(message.buttons == PromptButtons::YesNoDefaultNo ? QMessageBox::No : QMessageBox::Yes);
        box->setEscapeButton(QMessageBox::No);
    }
    if (!message.details.isEmpty()) {
        box->setDetailedText(boxText(message.details));
        QAbstractButton *more = detailsButton(*box);
        auto *text = box->findChild<QTextEdit *>();
        const QString collapsed = message.detailsCollapsedLabel;
        if (more && text && !collapsed.isEmpty()) {
            const QString expanded = message.detailsExpandedLabel.isEmpty() ? collapsed : message.detailsExpandedLabel;
            more->setText(collapsed);
            new DetailsLabels(text, more, collapsed, expanded);
        }
    }
    return box;
}

PromptAnswer MessageBoxPrompt::answerOf(const QMessageBox &box, const PromptMessage &message)
{
    const QMessageBox::StandardButton clicked = box.standardButton(box.clickedButton());
    if (message.buttons == PromptButtons::Ok)
        return PromptAnswer::Ok;
    return clicked == QMessageBox::Yes ? PromptAnswer::Yes : PromptAnswer::No;
}

QString MessageBoxPrompt::repeatedText(const QString &text, int times)
{
    if (times <= 1)
        return text;
    return text + QStringLiteral("\r\r(This happened %1 times.)").arg(times);
}

void MessageBoxPrompt::tell(const PromptMessage &message)
{
    for (Told &told : m_told) {
        const PromptMessage &m = told.message;
        if (m.caption == message.caption && m.text == message.text && m.instruction == message.instruction &&
            m.details == message.details) {
            ++told.times;
            if (told.box && m.instruction.isEmpty())
                told.box->setText(boxText(repeatedText(m.text, told.times)));
            else if (told.box)
                told.box->setInformativeText(boxText(repeatedText(m.text, told.times)));
            return;
        }
    }
    m_told.push_back({message, 1, nullptr});
    if (!m_showScheduled && !m_showing) {
        m_showScheduled = true;
        QMetaObject::invokeMethod(&m_context, [this] { showTold(); }, Qt::QueuedConnection);
    }
}

void MessageBoxPrompt::showTold()
{
    m_showScheduled = false;
    m_showing = true;
    while (!m_told.empty()) {
        Told &told = m_told.front();
        PromptMessage shown = told.message;
        shown.text = repeatedText(shown.text, told.times);
        const std::unique_ptr<QMessageBox> box = build(shown, m_owner);
        told.box = box.get();
        box->exec();
        m_told.pop_front();
    }
    m_showing = false;
}

PromptAnswer MessageBoxPrompt::ask(const PromptMessage &message)
{
    const std::unique_ptr<QMessageBox> box = build(message, m_owner);
    box->exec();
    return answerOf(*box, message);
}

} // namespace kestra
