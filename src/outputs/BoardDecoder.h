#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <vector>

namespace kestra {

// What a board takes from one frame: bytes for its copy of the display block,
// and where they go.
struct BoardFrame {
    int address = 0;
    QByteArray data;
};

struct DecodeResult {
    std::vector<BoardFrame> frames;
    QStringList errors;   // one line per frame or run of bytes rejected
    QStringList warnings; // frames taken that a real board may misread
};

// The receiving side of one board protocol, as the virtual board uses it.
class FrameDecoder {
public:
    virtual ~FrameDecoder() = default;
    virtual QString protocol() const = 0;
    // One datagram carries exactly one frame.
    virtual DecodeResult decodeDatagram(QByteArrayView datagram) const = 0;
    // A serial byte stream: frames may arrive split or joined, with noise.
    virtual DecodeResult feed(QByteArrayView bytes) = 0;
};

// Checks Daktronics frames: start and end bytes, the fixed header, a
// five-digit address, the checksum, data that lies inside the block, and for
// the addresses the program sends to, the length that goes with the address.
class DaktronicsDecoder final : public FrameDecoder {
public:
    QString protocol() const override { return QStringLiteral("Daktronics"); }
    DecodeResult decodeDatagram(QByteArrayView datagram) const override;
    DecodeResult feed(QByteArrayView bytes) override;

    // Checks one whole frame; on failure says why in *error.
    static bool parse(QByteArrayView frame, BoardFrame *out, QString *error);
    // The data length the program sends to an address, or 0 for none.
    static int expectedLength(int address);

private:
    QByteArray m_pending;
};

// Checks White Way frames: the head "w\99999\", a known page number, a
// backslash before each field at the place the page's field widths give, and
// the tail "\\" CR LF. Fields are taken by their widths, so a backslash
// inside a name is kept (with a warning: a board that splits on backslashes
// misreads it). One frame gives one BoardFrame per field.
class WhiteWayDecoder final : public FrameDecoder {
public:
    QString protocol() const override { return QStringLiteral("White Way"); }
    DecodeResult decodeDatagram(QByteArrayView datagram) const override;
    DecodeResult feed(QByteArrayView bytes) override;

private:
    QByteArray m_pending;
};

// Checks Barco frames: 0x02, the 5,699 bytes of the block, 0x03.
class BarcoDecoder final : public FrameDecoder {
public:
    QString protocol() const override { return QStringLiteral("Barco"); }
    DecodeResult decodeDatagram(QByteArrayView datagram) const override;
    DecodeResult feed(QByteArrayView bytes) override;

private:
    QByteArray m_pending;
};

// Recognises the protocol: a datagram by its first byte, a serial stream by
// the first good frame of any protocol, which it then keeps to.
class AutoDecoder final : public FrameDecoder {
public:
    QString protocol() const override;
    DecodeResult decodeDatagram(QByteArrayView datagram) const override;
    DecodeResult feed(QByteArrayView bytes) override;

private:
    DaktronicsDecoder m_daktronics;
    WhiteWayDecoder m_whiteWay;
    BarcoDecoder m_barco;
    FrameDecoder *m_locked = nullptr;
    qsizetype m_unrecognised = 0;
    bool m_toldUnrecognised = false;
};

} // namespace kestra
