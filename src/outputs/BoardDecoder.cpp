#include "outputs/BoardDecoder.h"

#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"

namespace kestra {

namespace {

constexpr char kStart = '\x16';
constexpr char kEnd = '\x17';
constexpr int kHeaderLength = 21;
constexpr int kOverhead = 25;
constexpr int kMaxFrame = layout::kRecordSize + kOverhead;

bool allDigits(QByteArrayView bytes)
{
    for (char c : bytes) {
        if (c < '0' || c > '9')
            return false;
    }
    return !bytes.isEmpty();
}

// The fixed part before the data; empty when it is right.
QString headerProblem(QByteArrayView frame)
{
    if (frame.size() < kHeaderLength)
        return QStringLiteral("too short (%1 bytes)").arg(frame.size());
    if (frame[0] != kStart)
        return QStringLiteral("no start byte 0x16");
    if (frame.sliced(1, 8) != QByteArrayView("00000000") || frame[9] != '\x01'
        || frame.sliced(10, 5) != QByteArrayView("00401") || frame[20] != '\x02') {
        return QStringLiteral("malformed header");
    }
    if (!allDigits(frame.sliced(15, 5)))
        return QStringLiteral("address \"%1\" is not five digits")
            .arg(QString::fromLatin1(frame.sliced(15, 5).toByteArray().toPercentEncoding()));
    return QString();
}

QString describe(QByteArrayView bytes)
{
    const QByteArray head = bytes.first(qMin<qsizetype>(bytes.size(), 24)).toByteArray();
    return QString::fromLatin1(head.toHex(' ')) + (bytes.size() > 24 ? QStringLiteral(" ...") : QString());
}

} // namespace

int DaktronicsDecoder::expectedLength(int address)
{
    for (int s = 1; s <= layout::kSlots; ++s) {
        if (address == layout::eventLine(s).offset)
            return layout::eventLine(s).length;
        if (address == layout::eventGym(s).offset)
            return layout::eventGym(s).length;
        if (address == layout::eventDBonus(s).offset)
            return layout::eventDBonus(s).length;
        if (address == layout::eventEBonus(s).offset)
            return layout::eventEBonus(s).length;
        if (address == layout::nowUpLine(s).offset)
            return layout::nowUpLine(s).length;
    }
    for (int p = 1; p <= layout::kLeaderPageCount; ++p) {
        if (address == layout::leaderPage(p).offset)
            return layout::leaderPage(p).length;
        if (address == layout::leaderGyms(p).offset)
            return layout::leaderGyms(p).length;
    }
    if (address == layout::kNcaaGroup1.offset)
        return layout::kNcaaGroup1.length;
    for (int g = 2; g <= layout::kNcaaGroupCount; ++g) {
        if (address == layout::ncaaGroup(g).offset)
            return layout::ncaaGroup(g).length;
    }
    if (address == layout::kNcaaEventScores.offset)
        return layout::kNcaaEventScores.length;
    if (address == layout::kNcaaMatrix.offset)
        return 308;
    if (address == layout::kNcaaMatrix.offset + 308)
        return layout::kNcaaMatrix.length - 308;
    return 0;
}

bool DaktronicsDecoder::parse(QByteArrayView frame, BoardFrame *out, QString *error)
{
    auto fail = [&](const QString &why) {
        if (error)
            *error = why;
        return false;
    };
    if (frame.size() < kOverhead)
        return fail(QStringLiteral("too short (%1 bytes)").arg(frame.size()));
    const QString header = headerProblem(frame);
    if (!header.isEmpty())
        return fail(header);
    const qsizetype n = frame.size() - kOverhead;
    if (frame[frame.size() - 1] != kEnd)
        return fail(QStringLiteral("no end byte 0x17"));
    if (frame[kHeaderLength + n] != '\x04')
        return fail(QStringLiteral("no 0x04 after the data"));
    const QByteArray expected = DaktronicsChecksum(frame.sliced(1, kHeaderLength + n));
    const QByteArrayView got = frame.sliced(kHeaderLength + n + 1, 2);
    const int address = frame.sliced(15, 5).toByteArray().toInt();
    if (got != QByteArrayView(expected)) {
        return fail(QStringLiteral("checksum %1 where %2 was due (address %3)")
                        .arg(QString::fromLatin1(got.toByteArray().toPercentEncoding()),
                             QString::fromLatin1(expected))
                        .arg(address));
    }
    if (address + n > layout::kRecordSize)
        return fail(QStringLiteral("%1 bytes at %2 run past the end of the block").arg(n).arg(address));
    const int due = expectedLength(address);
    if (due != 0 && due != n)
        return fail(QStringLiteral("%1 bytes at %2 where %3 belong").arg(n).arg(address).arg(due));
    if (out) {
        out->address = address;
        out->data = frame.sliced(kHeaderLength, n).toByteArray();
    }
    return true;
}

DecodeResult DaktronicsDecoder::decodeDatagram(QByteArrayView datagram) const
{
    DecodeResult result;
    BoardFrame frame;
    QString error;
    if (parse(datagram, &frame, &error))
        result.frames.push_back(std::move(frame));
    else
        result.errors.append(QStringLiteral("bad frame: %1 [%2]").arg(error, describe(datagram)));
    return result;
}

DecodeResult DaktronicsDecoder::feed(QByteArrayView bytes)
{
    DecodeResult result;
    m_pending.append(bytes.data(), bytes.size());
    for (;;) {
        const qsizetype start = m_pending.indexOf(kStart);
        if (start < 0) {
            if (!m_pending.isEmpty())
                result.errors.append(QStringLiteral("skipped %1 bytes outside any frame").arg(m_pending.size()));
            m_pending.clear();
            break;
        }
        if (start > 0) {
            result.errors.append(QStringLiteral("skipped %1 bytes outside any frame").arg(start));
            m_pending.remove(0, start);
        }
        if (m_pending.size() < kHeaderLength)
            break;
        const QString header = headerProblem(m_pending);
        if (!header.isEmpty()) {
            // A stray start byte: look for the next one.
            result.errors.append(QStringLiteral("bad frame: %1").arg(header));
            m_pending.remove(0, 1);
            continue;
        }
        // The end is the first 0x04 that is followed, two bytes on, by 0x17.
        qsizetype end = -1;
        for (qsizetype i = kHeaderLength; i + 3 < m_pending.size(); ++i) {
            if (m_pending[i] == '\x04' && m_pending[i + 3] == kEnd) {
                end = i + 4;
                break;
            }
        }
        if (end < 0) {
            if (m_pending.size() > kMaxFrame) {
                result.errors.append(QStringLiteral("bad frame: no end within %1 bytes").arg(kMaxFrame));
                m_pending.remove(0, 1);
                continue;
            }
            break;
        }
        const QByteArray candidate = m_pending.left(end);
        m_pending.remove(0, end);
        BoardFrame frame;
        QString error;
        if (parse(candidate, &frame, &error))
            result.frames.push_back(std::move(frame));
        else
            result.errors.append(QStringLiteral("bad frame: %1 [%2]").arg(error, describe(candidate)));
    }
    return result;
}

} // namespace kestra
