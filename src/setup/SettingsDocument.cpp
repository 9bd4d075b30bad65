#include "setup/SettingsDocument.h"

#include <QStringDecoder>

namespace kestra {

namespace {

bool isControl(QChar c)
{
    return c.unicode() < 0x20 || c.unicode() == 0x7f;
}

QString decodeText(QByteArrayView bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes = bytes.sliced(3);
    QStringDecoder utf8(QStringDecoder::Utf8, QStringConverter::Flag::Stateless);
    QString text = utf8.decode(bytes);
    // A file saved by a Windows editor in its ANSI code page: keep every byte
    // rather than turning accented names into replacement characters.
    if (utf8.hasError())
        text = QString::fromLatin1(bytes.data(), bytes.size());
    return text;
}

} // namespace

bool SettingsDocument::sameName(const QString &a, const QString &b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

bool SettingsDocument::isBelow(const QString &section, const QString &ancestor)
{
    return section.size() > ancestor.size() + 1 && section.at(ancestor.size()) == QLatin1Char('\\')
        && section.startsWith(ancestor, Qt::CaseInsensitive);
}

QString SettingsDocument::normalizeSection(const QString &section)
{
    QStringList parts;
    for (const QString &part : section.split(QLatin1Char('\\'))) {
        const QString trimmed = part.trimmed();
        if (!trimmed.isEmpty())
            parts.append(trimmed);
    }
    return parts.join(QLatin1Char('\\'));
}

bool SettingsDocument::isValidSection(const QString &section)
{
    for (QChar c : section) {
        if (isControl(c) || c == QLatin1Char('[') || c == QLatin1Char(']'))
            return false;
    }
    return true;
}

bool SettingsDocument::isValidName(const QString &name)
{
    if (name.isEmpty() || name != name.trimmed())
        return false;
    const QChar first = name.front();
    if (first == QLatin1Char('[') || first == QLatin1Char(';') || first == QLatin1Char('#'))
        return false;
    for (QChar c : name) {
        if (isControl(c) || c == QLatin1Char('='))
            return false;
    }
    return true;
}

QString SettingsDocument::encodeValue(const QString &value)
{
    bool quote = !value.isEmpty()
        && (value.front().isSpace() || value.back().isSpace() || value.front() == QLatin1Char('"'));
    for (QChar c : value)
        quote = quote || isControl(c);
    if (!quote)
        return value;

    QString out;
    out.reserve(value.size() + 8);
    out += QLatin1Char('"');
    for (QChar c : value) {
        switch (c.unicode()) {
        case '\\': out += QLatin1String("\\\\"); break;
        case '"': out += QLatin1String("\\\""); break;
        case '\n': out += QLatin1String("\\n"); break;
        case '\r': out += QLatin1String("\\r"); break;
        case '\t': out += QLatin1String("\\t"); break;
        default:
            if (isControl(c))
                out += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
            else
                out += c;
        }
    }
    out += QLatin1Char('"');
    return out;
}

QString SettingsDocument::decodeValue(const QString &text)
{
    if (text.size() < 2 || text.front() != QLatin1Char('"') || text.back() != QLatin1Char('"'))
        return text;
    const QString inner = text.mid(1, text.size() - 2);
    QString out;
    out.reserve(inner.size());
    for (qsizetype i = 0; i < inner.size(); ++i) {
        const QChar c = inner.at(i);
        if (c != QLatin1Char('\\') || i + 1 == inner.size()) {
            out += c;
            continue;
        }
        const QChar next = inner.at(i + 1);
        switch (next.unicode()) {
        case '\\': out += QLatin1Char('\\'); ++i; break;
        case '"': out += QLatin1Char('"'); ++i; break;
        case 'n': out += QLatin1Char('\n'); ++i; break;
        case 'r': out += QLatin1Char('\r'); ++i; break;
        case 't': out += QLatin1Char('\t'); ++i; break;
        case 'x': {
            bool ok = false;
            const int code = inner.mid(i + 2, 2).toInt(&ok, 16);
            if (ok && i + 3 < inner.size()) {
                out += QChar(code);
                i += 3;
            } else {
                out += c;
            }
            break;
        }
        default:
            out += c; // not an escape: the backslash is text
        }
    }
    return out;
}

SettingsDocument SettingsDocument::parse(QByteArrayView bytes)
{
    SettingsDocument doc;
    const QString text = decodeText(bytes);
    QStringList lines = text.split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.back().isEmpty())
        lines.removeLast();
    if (!lines.isEmpty())
        doc.m_crlf = lines.front().endsWith(QLatin1Char('\r'));

    std::size_t current = 0;
    for (QString raw : lines) {
        if (raw.endsWith(QLatin1Char('\r')))
            raw.chop(1);
        const QString t = raw.trimmed();
        Line line;
        line.raw = raw;
        if (t.isEmpty()) {
            line.kind = Line::Blank;
        } else if (t.startsWith(QLatin1Char(';')) || t.startsWith(QLatin1Char('#'))) {
            line.kind = Line::Comment;
        } else if (t.startsWith(QLatin1Char('[')) && t.endsWith(QLatin1Char(']'))) {
            const QString name = normalizeSection(t.mid(1, t.size() - 2));
            current = doc.m_sections.size();
            for (std::size_t i = 0; i < doc.m_sections.size(); ++i) {
                if (sameName(doc.m_sections[i].name, name)) {
                    current = i;
                    break;
                }
            }
            if (current == doc.m_sections.size()) {
                doc.m_sections.push_back(Section{name, {}});
            } else {
                // A repeated section continues the first one; the blank
                // lines that stood before its header separated nothing.
                std::vector<Line> &merged = doc.m_sections[current].lines;
                while (!merged.empty() && merged.back().kind == Line::Blank)
                    merged.pop_back();
            }
            continue;
        } else if (const qsizetype eq = t.indexOf(QLatin1Char('=')); eq > 0
                   && !t.left(eq).trimmed().isEmpty()) {
            line.kind = Line::Entry;
            line.name = t.left(eq).trimmed();
            line.value = decodeValue(t.mid(eq + 1).trimmed());
        } else {
            line.kind = Line::Unreadable;
            ++doc.m_unreadable;
        }
        doc.m_sections[current].lines.push_back(std::move(line));
    }
    return doc;
}

QByteArray SettingsDocument::serialize() const
{
    QStringList out;
    for (std::size_t s = 0; s < m_sections.size(); ++s) {
        const Section &section = m_sections[s];
        std::size_t begin = 0;
        std::size_t end = section.lines.size();
        while (end > begin && section.lines[end - 1].kind == Line::Blank)
            --end;
        if (s == 0) {
            while (begin < end && section.lines[begin].kind == Line::Blank)
                ++begin;
        } else {
            if (!out.isEmpty())
                out.append(QString());
            out.append(QLatin1Char('[') + section.name + QLatin1Char(']'));
        }
        for (std::size_t i = begin; i < end; ++i) {
            const Line &line = section.lines[i];
            if (line.kind == Line::Entry && line.edited)
                out.append(line.name + QLatin1Char('=') + encodeValue(line.value));
            else
                out.append(line.raw);
        }
    }
    if (out.isEmpty())
        return {};
    const QString eol = m_crlf ? QStringLiteral("\r\n") : QStringLiteral("\n");
    return (out.join(eol) + eol).toUtf8();
}

SettingsDocument::Section *SettingsDocument::findSection(const QString &normalized)
{
    for (Section &section : m_sections) {
        if (sameName(section.name, normalized))
            return &section;
    }
    return nullptr;
}

const SettingsDocument::Section *SettingsDocument::findSection(const QString &normalized) const
{
    for (const Section &section : m_sections) {
        if (sameName(section.name, normalized))
            return &section;
    }
    return nullptr;
}

std::optional<QString> SettingsDocument::value(const QString &section, const QString &name) const
{
    const Section *found = findSection(normalizeSection(section));
    if (!found)
        return std::nullopt;
    for (const Line &line : found->lines) {
        if (line.kind == Line::Entry && sameName(line.name, name))
            return line.value;
    }
    return std::nullopt;
}

bool SettingsDocument::hasSection(const QString &section) const
{
    const QString normalized = normalizeSection(section);
    return normalized.isEmpty() || findSection(normalized) != nullptr;
}

QStringList SettingsDocument::sections() const
{
    QStringList out;
    if (!names(QString()).isEmpty())
        out.append(QString());
    for (std::size_t s = 1; s < m_sections.size(); ++s)
        out.append(m_sections[s].name);
    return out;
}

QStringList SettingsDocument::names(const QString &section) const
{
    QStringList out;
    const Section *found = findSection(normalizeSection(section));
    if (!found)
        return out;
    for (const Line &line : found->lines) {
        if (line.kind != Line::Entry)
            continue;
        bool seen = false;
        for (const QString &name : out)
            seen = seen || sameName(name, line.name);
        if (!seen)
            out.append(line.name);
    }
    return out;
}

bool SettingsDocument::setValue(const QString &section, const QString &name, const QString &value)
{
    const QString normalized = normalizeSection(section);
    if (!isValidName(name) || !isValidSection(normalized))
        return false;
    Section *target = findSection(normalized);
    if (!target) {
        m_sections.push_back(Section{normalized, {}});
        target = &m_sections.back();
        m_modified = true;
    }

    std::vector<Line> &lines = target->lines;
    auto first = lines.end();
    std::size_t lastEntry = 0;
    bool anyEntry = false;
    for (auto it = lines.begin(); it != lines.end();) {
        if (it->kind != Line::Entry) {
            ++it;
            continue;
        }
        if (sameName(it->name, name)) {
            if (first == lines.end()) {
                first = it;
            } else {
                // A repeated name from a hand edit: one entry is left.
                it = lines.erase(it);
                m_modified = true;
                continue;
            }
        }
        lastEntry = std::size_t(it - lines.begin());
        anyEntry = true;
        ++it;
    }

    if (first != lines.end()) {
        if (first->value == value)
            return true;
        first->value = value;
        first->edited = true;
        m_modified = true;
        return true;
    }
    Line line;
    line.kind = Line::Entry;
    line.name = name;
    line.value = value;
    line.edited = true;
    // After the last value, so that comments standing before the next
    // section header stay with it.
    lines.insert(anyEntry ? lines.begin() + qsizetype(lastEntry) + 1 : lines.end(), std::move(line));
    m_modified = true;
    return true;
}

bool SettingsDocument::removeSection(const QString &section)
{
    const QString normalized = normalizeSection(section);
    if (normalized.isEmpty() || !isValidSection(normalized))
        return false;
    for (std::size_t s = m_sections.size() - 1; s >= 1; --s) {
        const QString &name = m_sections[s].name;
        if (sameName(name, normalized) || isBelow(name, normalized)) {
            m_sections.erase(m_sections.begin() + qsizetype(s));
            m_modified = true;
        }
    }
    return true;
}

QString SettingsDocument::ReadString(const QString &section, const QString &name,
                                     const QString &defaultValue) const
{
    return value(section, name).value_or(defaultValue);
}

int SettingsDocument::ReadInteger(const QString &section, const QString &name, int defaultValue) const
{
    const std::optional<QString> text = value(section, name);
    if (!text)
        return defaultValue;
    bool ok = false;
    const int number = text->trimmed().toInt(&ok, 10);
    return ok ? number : defaultValue;
}

bool SettingsDocument::ReadBool(const QString &section, const QString &name, bool defaultValue) const
{
    return ReadInteger(section, name, defaultValue ? 1 : 0) != 0;
}

bool SettingsDocument::WriteString(const QString &section, const QString &name, const QString &value)
{
    return setValue(section, name, value);
}

bool SettingsDocument::WriteInteger(const QString &section, const QString &name, int value)
{
    return setValue(section, name, QString::number(value));
}

bool SettingsDocument::WriteBool(const QString &section, const QString &name, bool value)
{
    return setValue(section, name, value ? QStringLiteral("1") : QStringLiteral("0"));
}

} // namespace kestra
