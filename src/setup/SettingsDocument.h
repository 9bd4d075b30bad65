#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace kestra {

// The text of one settings key: sections named by backslash paths
// ("[Servers\Server1]"), the key itself being the unnamed section at the top
// of the file, and "Name=Value" lines holding every value as text.
//
// Section paths and value names are matched without regard to case and keep
// the spelling they were first written with. Hand edits are tolerated and
// kept: blank lines, ";" and "#" comments, CRLF line ends, blanks around "=",
// repeated sections (merged into the first on the next write) and repeated
// names (the first one counts). New sections and values go after the existing
// ones, so the file reads in the order things were first written.
class SettingsDocument {
public:
    static SettingsDocument parse(QByteArrayView bytes);
    QByteArray serialize() const;

    // Lines that are neither a header, a value, a comment nor blank. They are
    // kept as they are and otherwise ignored.
    int unreadableLines() const { return m_unreadable; }

    // "Servers\\Server1", "\\Servers\\ Server1\\" and "servers\\server1" name
    // the same section; "" is the key itself.
    static QString normalizeSection(const QString &section);
    // Names a program may write: not empty, no blanks at either end, no "=",
    // no control characters, not starting with "[", ";" or "#".
    static bool isValidName(const QString &name);
    static bool isValidSection(const QString &section);

    std::optional<QString> value(const QString &section, const QString &name) const;
    bool hasSection(const QString &section) const;
    // Section paths as spelled in the file, in file order, the key itself
    // first when it holds anything.
    QStringList sections() const;
    // Value names of one section as spelled, in file order.
    QStringList names(const QString &section) const;

    // Both answer false, changing nothing, for an invalid name or section.
    // Writing a name that exists in another case keeps the first spelling and
    // leaves one entry.
    bool setValue(const QString &section, const QString &name, const QString &value);
    // Removes the section and every section below it. The key itself cannot
    // be removed this way.
    bool removeSection(const QString &section);
    // Whether anything was changed since the document was parsed.
    bool isModified() const { return m_modified; }

    // The typed reads and writes of the store. Integers are decimal text and
    // Booleans "0" or "1"; an integer that is missing or no number reads as
    // the default; a Boolean is an integer read with the default 0 or 1 and
    // is true when not zero.
    QString ReadString(const QString &section, const QString &name, const QString &defaultValue) const;
    int ReadInteger(const QString &section, const QString &name, int defaultValue) const;
    bool ReadBool(const QString &section, const QString &name, bool defaultValue) const;
    bool WriteString(const QString &section, const QString &name, const QString &value);
    bool WriteInteger(const QString &section, const QString &name, int value);
    bool WriteBool(const QString &section, const QString &name, bool value);

    // The text form of a value on its line: as it is, or in double quotes
    // with backslash escapes when it has blanks at either end, starts with a
    // quote or holds a line break or other control character.
    static QString encodeValue(const QString &value);
    static QString decodeValue(const QString &text);

private:
    struct Line {
        enum Kind { Blank, Comment, Entry, Unreadable } kind = Blank;
        QString raw;   // as read; rewritten from name and value when edited
        QString name;  // Entry only
        QString value; // Entry only, decoded
        bool edited = false;
    };
    struct Section {
        QString name; // normalised, as first spelled; empty for the key itself
        std::vector<Line> lines;
    };

    Section *findSection(const QString &normalized);
    const Section *findSection(const QString &normalized) const;
    static bool sameName(const QString &a, const QString &b);
    static bool isBelow(const QString &section, const QString &ancestor);

    std::vector<Section> m_sections{Section{}}; // [0] is the key itself
    bool m_crlf = false;
    bool m_modified = false;
    int m_unreadable = 0;
};

} // namespace kestra
