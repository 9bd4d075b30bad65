#include "support/OperatorPrompt.h"

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

PromptAnswer LogPrompt::ask(const PromptMessage &message)
{
    // One line per message: carriage returns and line breaks become " | ".
    QString body = message.fullText();
    body.replace(QStringLiteral("\r\n"), QStringLiteral(" | "));
    body.replace(QLatin1Char('\r'), QStringLiteral(" | "));
    body.replace(QLatin1Char('\n'), QStringLiteral(" | "));
    const PromptAnswer answer = message.defaultAnswer();
    const char *answerWord = answer == PromptAnswer::Ok ? "" : " [answered No]";
    std::fprintf(stderr, "kestra %s: %s: %s%s\n", iconWord(message.icon),
                 qPrintable(message.caption), qPrintable(body), answerWord);
    std::fflush(stderr);
    return answer;
}

} // namespace kestra
