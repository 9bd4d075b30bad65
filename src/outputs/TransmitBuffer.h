#pragma once

#include <QByteArray>

#include <deque>

namespace kestra {

// What a frame carries, for the transmit buffer. A whole-record frame (the
// Barco block) holds every field, so a newer one makes a waiting one useless;
// a line frame holds only its own fields and must reach the board.
enum class FrameKind { Line, Record };

// Frames handed to a line that has not started them yet. Policy: a record
// frame replaces a record frame still waiting, in its place, so the board
// gets the newest block and the buffer never holds more than one; line
// frames are kept whole and in order, never dropped.
class TransmitBuffer {
public:
    void push(QByteArray frame, FrameKind kind);
    bool isEmpty() const { return m_entries.empty(); }
    QByteArray takeFirst();
    void clear() { m_entries.clear(); }

    qsizetype frames() const { return qsizetype(m_entries.size()); }
    qsizetype bytes() const;
    // Record frames replaced before they were started, since creation.
    quint64 replaced() const { return m_replaced; }

private:
    struct Entry {
        QByteArray bytes;
        FrameKind kind;
    };
    std::deque<Entry> m_entries;
    quint64 m_replaced = 0;
};

} // namespace kestra
