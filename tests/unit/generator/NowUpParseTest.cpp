#include "generator/NowUpParse.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <random>

using namespace kestra;

namespace kestra {
void PrintTo(const NowUpAction &a, std::ostream *os)
{
    *os << "{event " << a.eventNumber << ", num \"" << a.num.toStdString() << "\", name \""
        << a.name.toStdString() << "\", gym \"" << a.gym.toStdString() << "\"}";
}
} // namespace kestra

namespace {

NowUpAction fill(int event, const char *num, const char *name, const char *gym = "")
{
    return {event, QString::fromUtf8(num), QString::fromUtf8(name), QString::fromUtf8(gym)};
}

NowUpAction clear(int event)
{
    return {event, QString(), QString(), QString()};
}

struct Case {
    const char *what;
    QByteArray datagram;
    std::optional<NowUpAction> action;
    NowUpFault fault = NowUpFault::None;
};

void check(const Case &c, const NowUpParse &got)
{
    SCOPED_TRACE(c.what);
    EXPECT_EQ(got.action, c.action) << c.datagram.toStdString();
    EXPECT_EQ(got.fault, c.fault) << c.datagram.toStdString() << " -> " << got.detail.toStdString();
    EXPECT_EQ(got.fault == NowUpFault::None, got.detail.isEmpty());
}

QByteArray nowUp(const QByteArray &attributes, const QByteArray &children = "<Gym>Harbor Gym</Gym>")
{
    return "<NowUp " + attributes + ">" + children + "</NowUp>";
}

const QByteArray kAnn = R"(Ev_Num="2" Num="105" FName="Ann" LName="Lee")";

} // namespace

TEST(NowUpXmlParse, Datagrams)
{
    const Case cases[] = {
        {"NowUp fills", nowUp(kAnn), fill(2, "105", "Ann Lee", "Harbor Gym")},
        {"NewScore clears", R"(<NewScore Ev_Num="4"/>)", clear(4)},
        {"declaration, comments and blanks around",
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- up next -->\n" + nowUp(kAnn) + "\n\n",
         fill(2, "105", "Ann Lee", "Harbor Gym")},
        {"nothing is trimmed",
         nowUp(R"(Ev_Num="1" Num=" 7 " FName=" Ann" LName="Lee ")", "<Gym>  Harbor  </Gym>"),
         fill(1, " 7 ", " Ann Lee ", "  Harbor  ")},
        {"gym with entities and CDATA", nowUp(kAnn, "<Gym>A &amp; B<![CDATA[ <C>]]></Gym>"),
         fill(2, "105", "Ann Lee", "A & B <C>")},
        {"UTF-8 names", nowUp(R"(Ev_Num="3" Num="9" FName="Zoë" LName="Øster")"), fill(3, "9", "Zoë Øster", "Harbor Gym")},
        {"Latin-1 by declaration", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
                                   "<NowUp Ev_Num=\"3\" Num=\"9\" FName=\"Zo\xeb\" LName=\"L\"><Gym/></NowUp>",
         fill(3, "9", "Zoë L", "")},
        {"trailing NUL of a C sender", nowUp(kAnn) + QByteArray(2, '\0'), fill(2, "105", "Ann Lee", "Harbor Gym")},
        // The number itself is parseEventNumber's; out of the six slots: the fill drops them, the reader passes them on.
        {"event 0", R"(<NewScore Ev_Num="0"/>)", clear(0)},
        {"event 7", nowUp(R"(Ev_Num="7" Num="1" FName="A" LName="B")"), fill(7, "1", "A B", "Harbor Gym")},

        {"other root", R"(<Score Ev_Num="1"/>)", std::nullopt, NowUpFault::XmlOtherRoot},

        {"no Ev_Num", R"(<NewScore/>)", std::nullopt, NowUpFault::XmlMissingEventNumber},
        {"ev_num is not Ev_Num", R"(<NewScore ev_num="1"/>)", std::nullopt, NowUpFault::XmlMissingEventNumber},
        {"Ev_Num a word", R"(<NewScore Ev_Num="two"/>)", std::nullopt, NowUpFault::XmlBadEventNumber},
        {"no Num", nowUp(R"(Ev_Num="1" FName="A" LName="B")"), std::nullopt, NowUpFault::XmlMissingItem},
        {"no Gym", nowUp(kAnn, ""), std::nullopt, NowUpFault::XmlMissingItem},
        {"Gym deeper down", nowUp(kAnn, "<Team><Gym>X</Gym></Team>"), std::nullopt, NowUpFault::XmlMissingItem},

        {"empty datagram", "", std::nullopt, NowUpFault::XmlNotWellFormed},
        {"two roots", R"(<NewScore Ev_Num="1"/><NewScore Ev_Num="2"/>)", std::nullopt, NowUpFault::XmlNotWellFormed},
        {"invalid UTF-8", "<NewScore Ev_Num=\"1\" X=\"\xff\xfe\"/>", std::nullopt, NowUpFault::XmlNotWellFormed},
        {"NUL inside", QByteArray("<NewScore Ev_Num=\"1\"\0/>", 24), std::nullopt, NowUpFault::XmlNotWellFormed},
        {"entities that expand without end",
         "<!DOCTYPE NewScore [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">"
         "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\"><!ENTITY d \"&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;\">"
         "<!ENTITY e \"&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;\"><!ENTITY f \"&e;&e;&e;&e;&e;&e;&e;&e;&e;&e;\">]>"
         "<NewScore Ev_Num=\"1\" X=\"&f;&f;&f;&f;&f;&f;&f;&f;&f;&f;\"/>",
         std::nullopt, NowUpFault::XmlNotWellFormed},
        {"a fault after a good root is still a fault", R"(<NewScore Ev_Num="1"/><)", std::nullopt,
         NowUpFault::XmlNotWellFormed},
    };
    for (const Case &c : cases)
        check(c, parseNowUpXml(c.datagram, 0));
}

TEST(NowUpCommaText, Splitting)
{
    const struct {
        const char *text;
        QStringList items;
    } cases[] = {
        {"a,b,c", {"a", "b", "c"}},
        {"a   b", {"a", "b"}},
        {"a\tb\x01" "c\r\n", {"a", "b", "c"}},
        {"a,,b", {"a", "", "b"}},
        {"a,", {"a", ""}},
        {"a, ", {"a"}},
        {",a", {"", "a"}},
        {"", {}},
        {"\"a b\",c", {"a b", "c"}},
        {"\"say \"\"hi\"\"\",x", {"say \"hi\"", "x"}},
        {"\"\"", {""}},
        {"\"a\"b", {"a", "b"}},
        {"a\"b", {"a\"b"}},
        {"\"unclosed, to the end", {"unclosed, to the end"}},
        {"x,\"", {"x", ""}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(splitCommaText(QString::fromLatin1(c.text)), c.items);
    }
}

TEST(NowUpCommaLineParse, Datagrams)
{
    const Case cases[] = {
        {"a competitor", "SCOREGEN,1,3,105,Ann", fill(3, "105", "Ann")},
        {"a quoted name keeps both words", "SCOREGEN,1,3,105,\"Ann Lee\"", fill(3, "105", "Ann Lee")},
        {"a bare name keeps the first word", "SCOREGEN,1,3,105,Ann Lee", fill(3, "105", "Ann")},
        {"the name is trimmed", "SCOREGEN,1,3,105,\"  Ann Lee \t\"", fill(3, "105", "Ann Lee")},
        {"the number is not", "SCOREGEN,1,3,\" 105\",Ann", fill(3, " 105", "Ann")},
        {"quotes in a name", "SCOREGEN,1,3,105,\"Ann \"\"Spin\"\" Lee\"", fill(3, "105", "Ann \"Spin\" Lee")},
        {"field 1 is not read", "SCOREGEN,,3,105,Ann", fill(3, "105", "Ann")},
        {"blanks as separators", "SCOREGEN, 1 3 105 Ann", fill(3, "105", "Ann")},
        {"no name", "SCOREGEN,1,3,105", fill(3, "105", "")},
        {"line ending", "SCOREGEN,1,3,105,Ann\r\n", fill(3, "105", "Ann")},
        {"the text ends at a NUL", QByteArray("SCOREGEN,1,3,105,Ann\0Lee", 24), fill(3, "105", "Ann")},
        {"Latin-1 name", "SCOREGEN,1,3,105,Zo\xeb", fill(3, "105", "Zoë")},
        {"event 7 is passed on", "SCOREGEN,1,7,105,Ann", fill(7, "105", "Ann")},
        {"the last one", "SCOREGEN-LAST,1,4", clear(4)},

        {"event 0", "SCOREGEN,1,0,105,Ann", std::nullopt, NowUpFault::LineBadEventNumber},
        {"event beyond 32 bits", "SCOREGEN,1,99999999999,105,Ann", std::nullopt, NowUpFault::LineBadEventNumber},
        {"no event number", "SCOREGEN,1", std::nullopt, NowUpFault::LineNoEventNumber},
        {"last, no event number", "SCOREGEN-LAST,", std::nullopt, NowUpFault::LineNoEventNumber},
        {"another word", "SCOREGENX,1,3", std::nullopt, NowUpFault::LineOtherWord},
        {"the word without comma", "SCOREGEN-LAST", std::nullopt, NowUpFault::LineOtherWord},
        {"XML on the wrong port", R"(<NewScore Ev_Num="4"/>)", std::nullopt, NowUpFault::LineOtherWord},
        {"a NUL in the word", QByteArray("SCORE\0GEN,1,3", 13), std::nullopt, NowUpFault::LineOtherWord},
    };
    for (const Case &c : cases)
        check(c, parseScoreGenLine(c.datagram));
}

// Mutations of good datagrams from a fixed seed: every parse ends with an
// action or a fault told in a few words, never both.
TEST(NowUpParseFuzz, MutatedDatagramsGiveAnActionOrAShortFault)
{
    std::mt19937 random(20261123);
    auto below = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
    const QByteArray seeds[] = {nowUp(kAnn), R"(<NewScore Ev_Num="4"/>)", "SCOREGEN,1,3,105,\"Ann \"\"A\"\" Lee\"",
                                "SCOREGEN-LAST,1,4", "<?xml version=\"1.0\"?>" + nowUp(kAnn, "<Gym>A &amp; B</Gym>")};
    const char interesting[] = {'\0', '"', ',', '<', '>', '&', '\xff', '\xc3', ' ', '\n', '=', '/'};
    int acted = 0;
    int malformed = 0;
    for (int i = 0; i < 50000; ++i) {
        QByteArray d = seeds[below(5)];
        for (int m = below(6); m > 0; --m) {
            const int at = below(int(d.size()) + 1);
            switch (below(5)) {
            case 0: d.insert(at, char(below(256))); break;
            case 1: d.insert(at, interesting[below(int(sizeof interesting))]); break;
            case 2: d.remove(at, 1 + below(16)); break;
            case 3: d.insert(at, d.mid(below(int(d.size()) + 1), 1 + below(32))); break;
            default: d.insert(at, "99999999999999999999"); break;
            }
        }
        for (const NowUpParse &p : {parseNowUpXml(d, below(5)), parseScoreGenLine(d)}) {
            ASSERT_EQ(p.fault == NowUpFault::None, p.detail.isEmpty()) << d.toHex().toStdString();
            ASSERT_FALSE(p.action && p.fault != NowUpFault::None) << d.toHex().toStdString();
            ASSERT_LT(p.detail.size(), 200) << d.toHex().toStdString();
            acted += bool(p.action);
            malformed += p.malformed();
        }
    }
    EXPECT_GT(acted, 5000);
    EXPECT_GT(malformed, 5000);
}
