#include "outputs/DisplayRecord.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace kestra {

void PackField(char *dest, int lastIndex, QByteArrayView text)
{
    if (!dest || lastIndex < 0)
        return;
    const qsizetype width = lastIndex + 1;
    const qsizetype copied = std::min(width, text.size());
    if (copied > 0)
        std::memcpy(dest, text.data(), static_cast<std::size_t>(copied));
    if (copied < width)
        std::memset(dest + copied, ' ', static_cast<std::size_t>(width - copied));
}

void PackField(char *dest, int lastIndex, const QString &text)
{
    const QByteArray latin1 = text.toLatin1();
    PackField(dest, lastIndex, QByteArrayView(latin1));
}

DisplayRecord::DisplayRecord()
{
    m_bytes.fill(' ');
}

DisplayRecord &DisplayRecord::instance()
{
    static DisplayRecord record;
    return record;
}

void DisplayRecord::check(const Field &field)
{
    if (field.offset < 0 || field.length < 0 || field.end() > layout::kRecordSize) {
        throw std::out_of_range("display block field " + std::to_string(field.offset) + "+"
                                + std::to_string(field.length) + " lies outside the block");
    }
}

char *DisplayRecord::at(const Field &field)
{
    check(field);
    return m_bytes.data() + field.offset;
}

void DisplayRecord::pack(const Field &field, QByteArrayView text)
{
    if (field.length == 0)
        return;
    PackField(at(field), field.length - 1, text);
}

void DisplayRecord::pack(const Field &field, const QString &text)
{
    if (field.length == 0)
        return;
    PackField(at(field), field.length - 1, text);
}

void DisplayRecord::blank(const Field &field)
{
    pack(field, QByteArrayView());
}

QByteArrayView DisplayRecord::view(const Field &field) const
{
    check(field);
    return QByteArrayView(m_bytes.data() + field.offset, field.length);
}

QString DisplayRecord::text(const Field &field) const
{
    const QByteArrayView bytes = view(field);
    return QString::fromLatin1(bytes.data(), bytes.size());
}

void DisplayRecord::clearAll()
{
    for (const Field &region : layout::kRegions)
        blank(region);
}

void DisplayRecord::clearNcaa()
{
    blank(layout::kNcaaGroup1);
    blank(layout::kNcaaGroups2To6);
    blank(layout::kNcaaEventScores);
}

} // namespace kestra
