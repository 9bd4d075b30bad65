#include "support/OperatorPrompt.h"

#include <QDateTime>

#include <cstdio>

namespace kestra {

QString expandTaskDialogBreaks(const QString &text)
{
    QString out = text;
    out.replace(QStringLiteral("\\n"), QStringLiteral("\n"));
    return out;
}

QString PromptMessage::fullText() const
{
    QString out;
    if (!instruction.isEmpty())
        out += expandTaskDialogBreaks(instruction) + QLatin1Char('\n');
    out += expandTaskDialogBreaks(text);
    if (!details.isEmpty())
        out += QLatin1Char('\n') + details;
    return out;
}

static const char *iconWord(PromptIcon icon)
{
    switch (icon) {
    case PromptIcon::Information: return "info";
    case PromptIcon::Warning: return "warning";
    case PromptIcon::Error: return "error";
    case PromptIcon::Question: return "question";
    case PromptIcon::None: break;
    }
    return "message";
}

namespace {

// One line per message: carriage returns and line breaks become " | ".
QString oneLine(const PromptMessage &message)
{
    QString body = message.fullText();
    body.replace(QStringLiteral("\r\n"), QStringLiteral(" | "));
    body.replace(QLatin1Char('\r'), QStringLiteral(" | "));
    body.replace(QLatin1Char('\n'), QStringLiteral(" | "));
    return QStringLiteral("kestra %1: %2: %3")
        .arg(QString::fromLatin1(iconWord(message.icon)), message.caption, body);
}

void writeLine(const QString &line)
{
    std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
    std::fflush(stderr);
}

} // namespace

PromptAnswer LogPrompt::ask(const PromptMessage &message)
{
    flushRepeats();
    const PromptAnswer answer = message.defaultAnswer();
    writeLine(oneLine(message) + (answer == PromptAnswer::Ok ? QString() : QStringLiteral(" [answered No]")));
    return answer;
}

void LogPrompt::tell(const PromptMessage &message)
{
    constexpr qint64 kQuietMs = 60 * 1000;
    const QString line = oneLine(message);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (line == m_lastTold && now - m_lastWrittenMs < kQuietMs) {
        ++m_repeats;
        return;
    }
    flushRepeats();
    writeLine(line);
    m_lastTold = line;
    m_lastWrittenMs = now;
}

void LogPrompt::flushRepeats()
{
    if (m_repeats > 0)
        writeLine(QStringLiteral("kestra: the message above came %1 more time(s)").arg(m_repeats));
    m_repeats = 0;
    m_lastTold.clear();
}

} // namespace kestra
