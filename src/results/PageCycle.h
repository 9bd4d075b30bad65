#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <array>
#include <exception>
#include <functional>
#include <vector>

namespace kestra {

class DisplayRecord;
class DisplayWriter;
class OperatorPrompt;

// One row of a built results page, as the screen takes it.
struct ResultsRow {
    QString Place;
    QString Name;
    QString Team;
    std::array<QString, 6> Scores; // event totals of a team row
    QString Score;                 // seven characters, right-aligned
};
using ResultsRows = std::vector<ResultsRow>;

// The apparatus of an event group, for the heads of the matrix.
struct EventGroupHeads {
    int numEvents = 0;
    std::array<QString, 6> titles;      // Event1..Event6
    std::array<QString, 6> shortTitles; // Ev1Short..Ev6Short
};

// The results page cycle: four channels walk the queue side by side, leader
// pages 1 to 3 and channel 4, the NCAA matrix. On each tick every channel
// with a line shows its next screen of rows; when its page is done it goes on
// to its next line, whose rows are built afresh, so a page that comes back
// shows current scores.
class PageCycle : public QObject {
    Q_OBJECT
public:
    struct Hooks {
        // The queue as it stands, and the list's selection of one line.
        std::function<QStringList()> lines;
        std::function<void(int line, bool selected)> select;
        // The rows of a queue line: its team or event build.
        std::function<ResultsRows(const QString &line)> build;
        // The apparatus of an event group, for the matrix heads.
        std::function<EventGroupHeads(int eventGroup)> heads;
        // Rows a screen: spinLeaderLines, read on every tick.
        std::function<int()> leaderLines;
        // The main window's checked target, and its boxes.
        std::function<DisplayWriter *()> writer;
        // Whatever leaves a tick: the cycle halts, the operator is told.
        std::function<void(std::exception_ptr)> failure;
    };

    struct Channel {
        int CurrentLine = -1;
        int NextLine = -1; // -1: no line, the channel is skipped
        bool PageDone = true;
        int RowCursor = 0;
        ResultsRows PageRows;
    };

    PageCycle(DisplayRecord &record, OperatorPrompt &prompt, Hooks hooks, QObject *parent = nullptr);

    // Start: each channel finds its first line; the first screen comes one
    // period later. False, with nothing changed, on an empty queue.
    bool start(int periodSeconds);
    void stop();
    bool isRunning() const { return m_running; }
    // Blanks the titles and the rows a screen holds of leader pages 1 to 3
    // and sends them; the matrix and the queue stay.
    void clear();
    // One tick, as the timer runs it.
    void Timer1Timer();

    QTimer &timer() { return m_timer; }
    const Channel &channel(int k) const { return m_channels.at(std::size_t(k - 1)); }

signals:
    void runningChanged(bool running);

private:
    void tickChannel(int k);
    int followingLine(const QStringList &lines, int k, int after) const;
    void writeIndividualScreen(int page, const QString &title, const QString &event, Channel &c, int rows);
    void writeTeamScreen(int page, const QString &title, Channel &c, int rows);
    void writeLeaderRows(int page, Channel &c, int rows, bool team);
    void writeMatrixScreen(int eventGroup, Channel &c, int rows);
    void sendLeader(int page);
    void sendMatrix();
    void tell(unsigned int result);

    DisplayRecord &m_record;
    OperatorPrompt &m_prompt;
    Hooks m_hooks;
    std::array<Channel, 4> m_channels;
    QTimer m_timer;
    bool m_running = false;
};

} // namespace kestra
