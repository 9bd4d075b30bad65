#include "setup/SettingsDocument.h"

#include "unit/setup/SettingsFiles.h"

#include <gtest/gtest.h>

using namespace kestra;
using kestra::test::S;

namespace {

std::string text(const SettingsDocument &doc)
{
    return doc.serialize().toStdString();
}

} // namespace

TEST(SettingsDocument, AHandEditedFileWithCrlfCommentsAndBlanksReads)
{
    const SettingsDocument doc = SettingsDocument::parse("\xEF\xBB\xBF; edited at the venue\r\n"
                                                         "MarlowenServerName = Arena Server \r\n"
                                                         "\r\n"
                                                         "[ Options ]\r\n"
                                                         "# comment\r\n"
                                                         "  ComPort=COM1\r\n"
                                                         "Interval =  45\r\n"
                                                         "MySQLPass=\"  two blanks \"\r\n"
                                                         "MySQLServer=caf\xe9\r\n"
                                                         "this line means nothing\r\n"
                                                         "[\\Servers\\ Server1\\]\r\n"
                                                         "Name=Main\r\n"
                                                         "[options]\r\n"
                                                         "interval=99\r\n"
                                                         "IntervalMax=200\r\n");
    EXPECT_EQ(doc.ReadString(S(""), S("MarlowenServerName"), S("x")), S("Arena Server"));
    EXPECT_EQ(doc.ReadString(S("Options"), S("COMPort"), S("")), S("COM1"));
    EXPECT_EQ(doc.ReadInteger(S("Options"), S("Interval"), 0), 45) << "the first of a repeated name counts";
    EXPECT_EQ(doc.ReadInteger(S("OPTIONS"), S("IntervalMax"), 0), 200) << "a repeated section is one section";
    EXPECT_EQ(doc.ReadString(S("Options"), S("MySQLPass"), S("")), S("  two blanks "));
    EXPECT_EQ(doc.ReadString(S("Options"), S("MySQLServer"), S("")), S("café")) << "a Windows code page file";
    EXPECT_EQ(doc.ReadString(S("servers\\SERVER1"), S("name"), S("")), S("Main"));
    EXPECT_EQ(doc.unreadableLines(), 1);
    EXPECT_EQ(doc.sections(), (QStringList{S(""), S("Options"), S("Servers\\Server1")}));
}

TEST(SettingsDocument, ARewriteKeepsHandEditsAndMergesRepeatedSections)
{
    SettingsDocument doc = SettingsDocument::parse("; mine\r\n[Options]\r\n  ComPort = COM1   \r\nInterval=45\r\n"
                                                   "; before the servers\r\n\r\n\r\n[Servers]\r\nNumServers=1\r\n"
                                                   "[OPTIONS]\r\ninterval=99\r\njunk\r\n");
    ASSERT_TRUE(doc.WriteInteger(S("options"), S("INTERVAL"), 50));
    ASSERT_TRUE(doc.WriteString(S("Options"), S("UDPPort"), S("12345")));
    ASSERT_TRUE(doc.WriteBool(S("Custom"), S("Flag"), true));
    ASSERT_TRUE(doc.WriteString(S("\\"), S("MarlowenServerName"), S("Gym")));
    EXPECT_EQ(text(doc), "; mine\r\nMarlowenServerName=Gym\r\n\r\n"
                         "[Options]\r\n  ComPort = COM1   \r\nInterval=50\r\nUDPPort=12345\r\n"
                         "; before the servers\r\njunk\r\n\r\n"
                         "[Servers]\r\nNumServers=1\r\n\r\n"
                         "[Custom]\r\nFlag=1\r\n");
}

TEST(SettingsDocument, NamesMatchWithoutCaseAndKeepTheFirstSpelling)
{
    SettingsDocument doc;
    ASSERT_TRUE(doc.WriteString(S("Options"), S("ComPort"), S("COM3")));
    EXPECT_EQ(doc.ReadString(S("Options"), S("COMPort"), S("COM2")), S("COM3"));
    ASSERT_TRUE(doc.WriteString(S("OPTIONS"), S("COMPORT"), S("UDP")));
    EXPECT_EQ(text(doc), "[Options]\nComPort=UDP\n");

    SettingsDocument other = SettingsDocument::parse("[Options]\nCOMPort=COM1\ncomport=COM4\n");
    ASSERT_TRUE(other.WriteString(S("Options"), S("ComPort"), S("COM2")));
    EXPECT_EQ(text(other), "[Options]\nCOMPort=COM2\n") << "one entry, under the spelling in the file";

    SettingsDocument same = SettingsDocument::parse("[Options]\nInterval = 60\n");
    ASSERT_TRUE(same.WriteInteger(S("Options"), S("interval"), 60));
    EXPECT_FALSE(same.isModified());
}

TEST(SettingsDocument, RemovingASectionTakesEverySectionBelowIt)
{
    SettingsDocument doc = SettingsDocument::parse("MarlowenServerName=B\n[Servers]\nNumServers=2\n"
                                                   "[Servers\\Server1]\nName=A\n[Custom]\nTeamID=3\n"
                                                   "[servers\\Server10]\nName=B\n[ServersOld]\nName=C\n"
                                                   "[Servers\\Server2\\Deeper]\nX=1\n");
    ASSERT_TRUE(doc.removeSection(S("SERVERS")));
    EXPECT_EQ(text(doc), "MarlowenServerName=B\n\n[Custom]\nTeamID=3\n\n[ServersOld]\nName=C\n");
    EXPECT_FALSE(doc.removeSection(S("\\"))) << "the key itself is not a section to remove";
}

TEST(SettingsDocument, IntegersAndBooleansReadFromText)
{
    const struct {
        const char *stored;
        int integer; // read with the default -7
        bool boolean; // read with the default true
    } cases[] = {
        {"12", 12, true},   {" 7 ", 7, true}, {"-3", -3, true},        {"+5", 5, true},
        {"0", 0, false},    {"abc", -7, true}, {"12abc", -7, true},    {"", -7, true},
        {"1.5", -7, true},  {"true", -7, true}, {"99999999999", -7, true},
        {"-2147483648", -2147483647 - 1, true},
    };
    for (const auto &c : cases) {
        SettingsDocument doc;
        doc.WriteString(S("Options"), S("V"), S(c.stored));
        EXPECT_EQ(doc.ReadInteger(S("Options"), S("V"), -7), c.integer) << c.stored;
        EXPECT_EQ(doc.ReadBool(S("Options"), S("V"), true), c.boolean) << c.stored;
        EXPECT_EQ(doc.ReadBool(S("Options"), S("V"), false), c.integer != 0 && c.integer != -7) << c.stored;
    }
    SettingsDocument written;
    written.WriteInteger(S("Options"), S("BaseAddr"), -744);
    written.WriteBool(S("Options"), S("On"), true);
    written.WriteBool(S("Options"), S("Off"), false);
    EXPECT_EQ(text(written), "[Options]\nBaseAddr=-744\nOn=1\nOff=0\n");
}

TEST(SettingsDocument, ValuesSurviveTheFileWhateverTheyHold)
{
    const struct {
        const char *value;
        const char *line; // as it stands in the file
    } cases[] = {
        {"", "V="},
        {"C:\\Meets\\out.xml", "V=C:\\Meets\\out.xml"},
        {"pa;ss#word=[x]", "V=pa;ss#word=[x]"},
        {" lead", "V=\" lead\""},
        {"trail\t", "V=\"trail\\t\""},
        {"\"quoted\"", "V=\"\\\"quoted\\\"\""},
        {"two\nlines\r\n", "V=\"two\\nlines\\r\\n\""},
        {"bell\x07", "V=\"bell\\x07\""},
        {"Zürich", "V=Zürich"},
    };
    for (const auto &c : cases) {
        SettingsDocument doc;
        ASSERT_TRUE(doc.WriteString(S("S"), S("V"), S(c.value)));
        EXPECT_EQ(text(doc), std::string("[S]\n") + c.line + "\n") << c.value;
        EXPECT_EQ(SettingsDocument::parse(doc.serialize()).ReadString(S("S"), S("V"), S("?")), S(c.value));
    }
    const SettingsDocument hand = SettingsDocument::parse("[S]\nB=\"half\nC=\"a\\qb\"\nD=\"end\\\"\n");
    EXPECT_EQ(hand.ReadString(S("S"), S("B"), S("")), S("\"half"));
    EXPECT_EQ(hand.ReadString(S("S"), S("C"), S("")), S("a\\qb"));
    EXPECT_EQ(hand.ReadString(S("S"), S("D"), S("")), S("end\\"));
}

TEST(SettingsDocument, NamesAndSectionsThatWouldBreakTheFileAreRefused)
{
    for (const char *name : {"", " Lead", "Trail ", "A=B", "[A", ";A", "#A", "A\nB"}) {
        SettingsDocument doc;
        EXPECT_FALSE(doc.WriteString(S("Options"), S(name), S("1"))) << name;
        EXPECT_FALSE(doc.isModified()) << name;
    }
    for (const char *section : {"Opt]ions", "[Options", "Op\ntions"}) {
        SettingsDocument doc;
        EXPECT_FALSE(doc.WriteString(S(section), S("A"), S("1"))) << section;
        EXPECT_FALSE(doc.isModified()) << section;
    }
}
