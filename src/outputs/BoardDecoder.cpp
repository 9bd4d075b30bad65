#include "outputs/BoardDecoder.h"

#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"
#include "outputs/WhiteWay.h"

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

// ---------------------------------------------------------------- White Way

namespace {

const QByteArrayView kWhiteWayHead("w\\99999\\");
const QByteArrayView kWhiteWayTail("\\\\\r\n");
constexpr qsizetype kWhiteWayLongest = 2007;

// The length a frame of this page has with this many bonus fields.
qsizetype whiteWayLength(qsizetype pageDigits, const std::vector<Field> &fields)
{
    qsizetype length = kWhiteWayHead.size() + pageDigits + kWhiteWayTail.size();
    for (const Field &f : fields)
        length += 1 + f.length;
    return length;
}

// The page number after the head: its value and digit count, 0 when the
// digits are not all there yet, -1 when they are not digits.
int whiteWayPage(QByteArrayView frame, qsizetype *digits)
{
    qsizetype i = kWhiteWayHead.size();
    int page = 0;
    while (i < frame.size() && frame[i] >= '0' && frame[i] <= '9' && i - kWhiteWayHead.size() < 3)
        page = page * 10 + (frame[i++] - '0');
    *digits = i - kWhiteWayHead.size();
    if (i >= frame.size())
        return 0;
    return frame[i] == '\\' && *digits > 0 ? page : -1;
}

// Checks one whole frame and cuts it into fields.
bool parseWhiteWay(QByteArrayView frame, DecodeResult &out, QString *error)
{
    auto fail = [&](const QString &why) {
        *error = why;
        return false;
    };
    if (!frame.startsWith(kWhiteWayHead))
        return fail(QStringLiteral("no head w\\99999\\"));
    qsizetype digits = 0;
    const int page = whiteWayPage(frame, &digits);
    if (page <= 0)
        return fail(QStringLiteral("no page number"));
    std::vector<Field> fields;
    for (int bonus = 0; bonus <= 2; ++bonus) {
        std::vector<Field> candidate = whiteway::pageFields(page, bonus);
        if (candidate.empty())
            return fail(QStringLiteral("unknown page %1").arg(page));
        if (whiteWayLength(digits, candidate) == frame.size()) {
            fields = std::move(candidate);
            break;
        }
        if (page > 106)
            break; // only event pages have bonus fields
    }
    if (fields.empty())
        return fail(QStringLiteral("page %1 is not %2 bytes long").arg(page).arg(frame.size()));
    if (!frame.endsWith(kWhiteWayTail))
        return fail(QStringLiteral("page %1 has no tail \\\\ CR LF").arg(page));
    qsizetype at = kWhiteWayHead.size() + digits;
    std::vector<BoardFrame> pieces;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (frame[at] != '\\')
            return fail(QStringLiteral("page %1: no backslash before field %2").arg(page).arg(i + 1));
        const QByteArrayView data = frame.sliced(at + 1, fields[i].length);
        if (data.contains('\\'))
            out.warnings.append(QStringLiteral("page %1 field %2 holds a backslash: a board that splits on "
                                               "backslashes misreads it")
                                    .arg(page)
                                    .arg(i + 1));
        pieces.push_back({fields[i].offset, data.toByteArray()});
        at += 1 + fields[i].length;
    }
    out.frames.insert(out.frames.end(), pieces.begin(), pieces.end());
    return true;
}

} // namespace

DecodeResult WhiteWayDecoder::decodeDatagram(QByteArrayView datagram) const
{
    DecodeResult result;
    QString error;
    if (!parseWhiteWay(datagram, result, &error)) {
        result.warnings.clear();
        result.errors.append(QStringLiteral("bad frame: %1 [%2]").arg(error, describe(datagram)));
    }
    return result;
}

DecodeResult WhiteWayDecoder::feed(QByteArrayView bytes)
{
    DecodeResult result;
    m_pending.append(bytes.data(), bytes.size());
    for (;;) {
        const qsizetype start = m_pending.indexOf(kWhiteWayHead);
        if (start < 0) {
            // Keep what could be the start of a head cut by the read.
            const qsizetype keep = qMin<qsizetype>(m_pending.size(), kWhiteWayHead.size() - 1);
            if (m_pending.size() > keep)
                result.errors.append(
                    QStringLiteral("skipped %1 bytes outside any frame").arg(m_pending.size() - keep));
            m_pending.remove(0, m_pending.size() - keep);
            break;
        }
        if (start > 0) {
            result.errors.append(QStringLiteral("skipped %1 bytes outside any frame").arg(start));
            m_pending.remove(0, start);
        }
        qsizetype digits = 0;
        const int page = whiteWayPage(m_pending, &digits);
        if (page == 0)
            break;
        std::vector<qsizetype> lengths;
        for (int bonus = 0; bonus <= (page >= 101 && page <= 106 ? 2 : 0); ++bonus) {
            const std::vector<Field> fields = whiteway::pageFields(page, bonus);
            if (!fields.empty())
                lengths.push_back(whiteWayLength(digits, fields));
        }
        if (page < 0 || lengths.empty()) {
            result.errors.append(page < 0 ? QStringLiteral("bad frame: no page number")
                                          : QStringLiteral("bad frame: unknown page %1").arg(page));
            m_pending.remove(0, 1);
            continue;
        }
        // The shortest length whose tail is in place.
        qsizetype end = -1;
        bool waiting = false;
        for (qsizetype length : lengths) {
            if (m_pending.size() < length) {
                waiting = true;
                break;
            }
            if (QByteArrayView(m_pending).sliced(length - kWhiteWayTail.size(), kWhiteWayTail.size()) ==
                kWhiteWayTail) {
                end = length;
                break;
            }
        }
        if (end < 0 && waiting && m_pending.size() <= kWhiteWayLongest)
            break;
        if (end < 0) {
            result.errors.append(QStringLiteral("bad frame: page %1 has no tail where its fields end").arg(page));
            m_pending.remove(0, 1);
            continue;
        }
        const QByteArray candidate = m_pending.left(end);
        m_pending.remove(0, end);
        QString error;
        DecodeResult one;
        if (parseWhiteWay(candidate, one, &error)) {
            result.frames.insert(result.frames.end(), one.frames.begin(), one.frames.end());
            result.warnings += one.warnings;
        } else {
            result.errors.append(QStringLiteral("bad frame: %1 [%2]").arg(error, describe(candidate)));
        }
    }
    return result;
}

// ---------------------------------------------------------------- Barco

namespace {
constexpr qsizetype kBarcoLength = layout::kRecordSize + 2;
}

DecodeResult BarcoDecoder::decodeDatagram(QByteArrayView datagram) const
{
    DecodeResult result;
    QString why;
    if (datagram.size() != kBarcoLength)
        why = QStringLiteral("%1 bytes where %2 belong").arg(datagram.size()).arg(kBarcoLength);
    else if (datagram.front() != '\x02')
        why = QStringLiteral("no start byte 0x02");
    else if (datagram.back() != '\x03')
        why = QStringLiteral("no end byte 0x03");
    if (why.isEmpty())
        result.frames.push_back({0, datagram.sliced(1, layout::kRecordSize).toByteArray()});
    else
        result.errors.append(QStringLiteral("bad frame: %1 [%2]").arg(why, describe(datagram)));
    return result;
}

DecodeResult BarcoDecoder::feed(QByteArrayView bytes)
{
    DecodeResult result;
    m_pending.append(bytes.data(), bytes.size());
    for (;;) {
        const qsizetype start = m_pending.indexOf('\x02');
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
        if (m_pending.size() < kBarcoLength)
            break;
        if (m_pending[kBarcoLength - 1] != '\x03') {
            result.errors.append(QStringLiteral("bad frame: no end byte 0x03 after %1 bytes").arg(layout::kRecordSize));
            m_pending.remove(0, 1);
            continue;
        }
        result.frames.push_back({0, m_pending.mid(1, layout::kRecordSize)});
        m_pending.remove(0, kBarcoLength);
    }
    return result;
}

// ---------------------------------------------------------------- any of them

QString AutoDecoder::protocol() const
{
    return m_locked ? m_locked->protocol() : QStringLiteral("any");
}

DecodeResult AutoDecoder::decodeDatagram(QByteArrayView datagram) const
{
    if (datagram.startsWith('\x16'))
        return m_daktronics.decodeDatagram(datagram);
    if (datagram.startsWith('w'))
        return m_whiteWay.decodeDatagram(datagram);
    if (datagram.startsWith('\x02'))
        return m_barco.decodeDatagram(datagram);
    DecodeResult result;
    result.errors.append(QStringLiteral("bad frame: not Daktronics, White Way or Barco [%1]").arg(describe(datagram)));
    return result;
}

DecodeResult AutoDecoder::feed(QByteArrayView bytes)
{
    if (m_locked)
        return m_locked->feed(bytes);
    // Until one protocol has a good frame, the others' complaints are noise.
    for (FrameDecoder *decoder : std::initializer_list<FrameDecoder *>{&m_daktronics, &m_whiteWay, &m_barco}) {
        DecodeResult result = decoder->feed(bytes);
        if (!result.frames.empty()) {
            m_locked = decoder;
            return result;
        }
    }
    DecodeResult result;
    m_unrecognised += bytes.size();
    if (m_unrecognised > 4 * kBarcoLength && !std::exchange(m_toldUnrecognised, true))
        result.errors.append(QStringLiteral("no Daktronics, White Way or Barco frame in %1 bytes").arg(m_unrecognised));
    return result;
}

} // namespace kestra
