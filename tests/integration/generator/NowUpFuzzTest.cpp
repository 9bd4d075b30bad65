// Random and mutated datagrams, from a fixed seed, into both listeners: no
// crash, nothing outside the now-up lines ever changes, and a datagram that is
// not used changes nothing at all.
#include "NowUpStation.h"

#include "outputs/EventSlot.h"

#include <gtest/gtest.h>

#include <random>

using namespace kestra;
using namespace kestra::test;

namespace {

using Channel = NowUpListeners::Channel;

class DatagramMaker {
public:
    explicit DatagramMaker(std::uint32_t seed) : m_random(seed) {}

    QByteArray next()
    {
        QByteArray d;
        switch (below(10)) {
        case 0: d = randomBytes(below(300)); break;
        case 1: d = below(50) == 0 ? randomBytes(1000 + below(64507)) : randomText(below(200)); break;
        case 2: case 3: d = nowUpXml(); break;
        case 4: d = newScoreXml(); break;
        case 5: case 6: d = scoreGen(); break;
        case 7: d = scoreGenLast(); break;
        default: d = below(2) ? nowUpXml() : scoreGen(); break;
        }
        // Half of them are left as made, so a good share is valid.
        if (below(2)) {
            const int mutations = 1 + below(4);
            for (int i = 0; i < mutations; ++i)
                mutate(d);
        }
        return d;
    }

private:
    int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(m_random); }

    QByteArray randomBytes(int n)
    {
        QByteArray b(n, '\0');
        for (char &c : b)
            c = static_cast<char>(below(256));
        return b;
    }
    QByteArray randomText(int n)
    {
        static const QByteArray alphabet = "abcXYZ019 ,\"<>/=&;\t\r\n-";
        QByteArray b(n, ' ');
        for (char &c : b)
            c = alphabet[below(int(alphabet.size()))];
        return b;
    }
    QByteArray pick(std::initializer_list<const char *> options)
    {
        return QByteArray(options.begin()[below(int(options.size()))]);
    }
    QByteArray eventNumber()
    {
        return pick({"1", "2", "3", "4", "5", "6", "7", "0", "-1", "+2", " 3 ", "x", "", "99999999999999999999",
                     "2147483647", "-2147483648", "3.5", "1", "2", "3", "4"});
    }
    QByteArray name()
    {
        return pick({"Ann", "Lee", "Zo\xc3\xab", "O&apos;Neil", "&quot;Spin&quot;", "", " padded ", "Ann Lee",
                     "Featherstonehaugh-Worthington-Smythe-Jones", "\xe2\x82\xac", "A&amp;B"});
    }
    QByteArray plainName()
    {
        return pick({"Ann", "Lee", "Zo\xc3\xab", "\"Ann Lee\"", "\"Say \"\"hi\"\"\"", "", "  ", "Ann Lee",
                     "Zo\xeb", "\"unclosed", "Featherstonehaugh-Worthington-Smythe-Jones"});
    }
    QByteArray nowUpXml()
    {
        QByteArray d = below(4) == 0 ? "<?xml version=\"1.0\"?>" : "";
        d += "<NowUp Ev_Num=\"" + eventNumber() + "\" Num=\"" + QByteArray::number(below(100000)) + "\" FName=\""
             + name() + "\" LName=\"" + name() + "\">";
        d += below(8) == 0 ? QByteArray() : "<Gym>" + name() + "</Gym>";
        d += "</NowUp>";
        return d;
    }
    QByteArray newScoreXml() { return "<NewScore Ev_Num=\"" + eventNumber() + "\"/>"; }
    QByteArray scoreGen()
    {
        return "SCOREGEN," + QByteArray::number(below(10)) + "," + eventNumber() + ","
               + QByteArray::number(below(100000)) + "," + plainName() + (below(4) == 0 ? "\r\n" : "");
    }
    QByteArray scoreGenLast() { return "SCOREGEN-LAST," + QByteArray::number(below(10)) + "," + eventNumber(); }

    void mutate(QByteArray &d)
    {
        static const char interesting[] = {'\0', '"', ',', '<', '>', '&', '\xff', '\xc3', ' ', '\n', '=', '/'};
        const int size = int(d.size());
        switch (below(8)) {
        case 0:
            if (size) {
                const int at = below(size);
                d[at] = static_cast<char>(d[at] ^ (1 << below(8)));
            }
            break;
        case 1:
            if (size)
                d[below(size)] = interesting[below(int(sizeof interesting))];
            break;
        case 2: d.insert(below(size + 1), randomBytes(1 + below(8))); break;
        case 3:
            if (size)
                d.remove(below(size), 1 + below(16));
            break;
        case 4: d.truncate(below(size + 1)); break;
        case 5:
            if (size) {
                const int at = below(size);
                d.insert(below(size + 1), d.mid(at, 1 + below(32)));
            }
            break;
        case 6: d.insert(below(size + 1), "99999999999999999999"); break;
        default: d.insert(below(size + 1), below(2) ? nowUpXml() : scoreGen()); break;
        }
    }

    std::mt19937 m_random;
};

class NowUpFuzzTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // A score line and a few now-ups to lose, if anything went astray.
        EventSlot routine;
        routine.Event = 2;
        routine.Num = 77;
        routine.FName = QStringLiteral("Kira");
        routine.LName = QStringLiteral("Moss");
        routine.ShortName = QStringLiteral("Valley");
        routine.Score = 9.65;
        station.lines.FillEventLine(routine, 1);
        station.record.pack(layout::leaderTitle1(1), QStringLiteral("ALL AROUND"));
        station.log.clear();
    }

    NowUpStation station;
};

const char *const kTitles[] = {"VAULT ", "BARS  ", "BEAM  ", "FLOOR "};

} // namespace

TEST_F(NowUpFuzzTest, AHundredThousandDatagramsThroughBothHandlers)
{
    constexpr int kDatagrams = 100000;
    DatagramMaker maker(20261123);
    const QByteArray outside = station.outsideNowUp();
    std::uint64_t acted = 0, malformed = 0, ignored = 0;
    for (int i = 0; i < kDatagrams; ++i) {
        const QByteArray d = maker.next();
        for (Channel c : {Channel::Xml, Channel::Line}) {
            const QByteArray before = station.record.bytes();
            const NowUpParse result = c == Channel::Xml ? station.listeners.RtcUdpServer1DataReceived(d, "fuzz")
                                                        : station.listeners.RtcUdpServer2DataReceived(d, "fuzz");
            const QByteArray after = station.record.bytes();
            if (!result.action) {
                ASSERT_EQ(after, before) << "datagram " << i << ": " << d.toHex().toStdString();
                ++(result.malformed() ? malformed : ignored);
                continue;
            }
            ++acted;
            ASSERT_EQ(station.outsideNowUp(), outside) << "datagram " << i << ": " << d.toHex().toStdString();
            const int event = result.action->eventNumber;
            if (event >= 1 && event <= 4) {
                ASSERT_EQ(station.record.read(layout::nowUpTitle(event)), QByteArray(kTitles[event - 1]));
                // Whatever came in, the line holds the texts as they are cut
                // (equal but for blanks at the ends when nothing was written).
                const struct {
                    Field field;
                    const QString &text;
                } fields[] = {{layout::nowUpNum(event), result.action->num},
                              {layout::nowUpName(event), result.action->name},
                              {layout::nowUpGym(event), result.action->gym}};
                for (const auto &f : fields) {
                    QByteArray expected(f.field.length, ' ');
                    PackField(expected.data(), f.field.length - 1, f.text);
                    ASSERT_EQ(station.record.read(f.field).trimmed(), expected.trimmed()) << "datagram " << i;
                }
            } else {
                ASSERT_EQ(after, before) << "event " << event << " has no slot";
            }
        }
        if (i % 2000 == 0)
            station.frames(); // keep the board's buffer from filling
    }
    // The mix was not one-sided.
    EXPECT_GT(acted, 20000u);
    EXPECT_GT(malformed, 20000u);
    EXPECT_GT(ignored, 20000u);
    EXPECT_EQ(station.listeners.counts(Channel::Xml).received + station.listeners.counts(Channel::Line).received,
              2u * kDatagrams);
    // One line per kind of fault, not one per datagram.
    EXPECT_LT(station.log.size(), 40) << station.log.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(station.context.recorder.messages.empty());
}

TEST_F(NowUpFuzzTest, ThousandsOverTheRealSockets)
{
    ASSERT_TRUE(station.listeners.start());
    constexpr int kDatagrams = 4000;
    constexpr int kBatch = 50;
    DatagramMaker maker(424242);
    const QByteArray outside = station.outsideNowUp();
    int sent[2] = {0, 0};
    for (int i = 0; i < kDatagrams; i += kBatch) {
        for (int j = 0; j < kBatch; ++j) {
            QByteArray d = maker.next();
            if (d.size() > 8000)
                d.truncate(8000); // many of these at once would overflow the receive buffer
            const Channel c = (i + j) % 2 ? Channel::Line : Channel::Xml;
            station.send(c, d);
            ++sent[static_cast<int>(c)];
        }
        ASSERT_TRUE(waitUntil([&] {
            return station.listeners.counts(Channel::Xml).received == std::uint64_t(sent[0])
                   && station.listeners.counts(Channel::Line).received == std::uint64_t(sent[1]);
        })) << "after " << i + kBatch;
        station.frames();
    }
    for (Channel c : {Channel::Xml, Channel::Line}) {
        const auto &n = station.listeners.counts(c);
        EXPECT_EQ(n.filled + n.ignored + n.malformed, n.received);
        EXPECT_GT(n.filled, 100u);
        EXPECT_EQ(n.dropped, 0u);
        EXPECT_EQ(n.restarts, 0u);
        EXPECT_TRUE(station.listeners.isListening(c));
    }
    EXPECT_EQ(station.outsideNowUp(), outside);

    // Still serving.
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,3,5,\"Last One\""));
    EXPECT_EQ(station.nowUpLine(3), nowUpBytes("BEAM", "5", "Last One", ""));
}
