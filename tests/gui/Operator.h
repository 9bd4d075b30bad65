#pragma once

// The operator's keyboard and answers to the next modal window, for the
// widget tests.

#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTimer>

#include <functional>

namespace kestra::test {

inline void press(QWidget *widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString &text = {})
{
    QKeyEvent down(QEvent::KeyPress, key, modifiers, text);
    QApplication::sendEvent(widget, &down);
    QKeyEvent up(QEvent::KeyRelease, key, modifiers, text);
    QApplication::sendEvent(widget, &up);
}

// Replaces the text of an edit by typing, as the operator would.
inline void retype(QLineEdit *edit, const QString &text)
{
    edit->setFocus();
    edit->selectAll();
    press(edit, Qt::Key_Backspace);
    for (QChar ch : text)
        press(edit, ch == QLatin1Char(' ') ? Qt::Key_Space : Qt::Key_unknown, Qt::NoModifier, QString(ch));
}

// Runs `answer` on the next modal window, from inside its own loop.
template <typename T> void answerNext(std::function<void(T &)> answer)
{
    QTimer::singleShot(0, [answer] {
        auto *modal = qobject_cast<T *>(QApplication::activeModalWidget());
        ASSERT_NE(modal, nullptr) << "no modal " << T::staticMetaObject.className();
        answer(*modal);
    });
}

} // namespace kestra::test
