#include "setup/SettingsDocument.h"

#include <gtest/gtest.h>

#include <QString>

using namespace kestra;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

std::string text(const SettingsDocument &doc)
{
    return doc.serialize().toStdString();
}

} // namespace

TEST(SettingsDocument, HandEditedFileWithCrlfCommentsAndBlanksReads)
{
    const QByteArray file = "\xEF\xBB\xBF"
                            "; edited by hand at the venue\r\n"
                            "MarlowenServerName = Arena Server \r\n"
                            "\r\n"
                            "[ Options ]\r\n"
                            "# comment\r\n"
                            "  ComPort=COM1\r\n"
                            "Interval =  45\r\n"
                            "MySQLPass=\"  two blanks \"\r\n"
                            "this line means nothing\r\n"
                            "\r\n"
                            "[Servers\\Server1]\r\n"
                            "Name=Main\r\n"
                            "[options]\r\n"
                            "IntervalMax=200\r\n"
                            "interval=99\r\n";
    const SettingsDocument doc = SettingsDocument::parse(file);
    EXPECT_EQ(doc.ReadString(S(""), S("MarlowenServerName"), S("x")), S("Arena Server"));
    EXPECT_EQ(doc.ReadString(S("Options"), S("COMPort"), S("")), S("COM1"));
    EXPECT_EQ(doc.ReadInteger(S("Options"), S("Interval"), 0), 45) << "the first of a repeated name counts";
    EXPECT_EQ(doc.ReadInteger(S("OPTIONS"), S("IntervalMax"), 0), 200) << "a repeated section is one section";
    EXPECT_EQ(doc.ReadString(S("Options"), S("MySQLPass"), S("")), S("  two blanks "));
    EXPECT_EQ(doc.ReadString(S("Servers\\Server1"), S("Name"), S("")), S("Main"));
    EXPECT_EQ(doc.unreadableLines(), 1);
    EXPECT_EQ(doc.sections(), (QStringList{S(""), S("Options"), S("Servers\\Server1")}));
    EXPECT_EQ(doc.names(S("options")), (QStringList{S("ComPort"), S("Interval"), S("MySQLPass"), S("IntervalMax")}));
}

TEST(SettingsDocument, ARewriteKeepsHandEditsAndMergesRepeatedSections)
{
    SettingsDocument doc = SettingsDocument::parse("; mine\r\n"
                                                   "[Options]\r\n"
                                                   "  ComPort = COM1   \r\n"
                                                   "Interval=45\r\n"
                                                   "; before the servers\r\n"
                                                   "\r\n"
                                                   "\r\n"
                                                   "[Servers]\r\n"
                                                   "NumServers=1\r\n"
                                                   "[OPTIONS]\r\n"
                                                   "interval=99\r\n"
                                                   "junk\r\n");
    ASSERT_TRUE(doc.WriteInteger(S("options"), S("INTERVAL"), 50));
    ASSERT_TRUE(doc.WriteString(S("Options"), S("UDPPort"), S("12345")));
    ASSERT_TRUE(doc.WriteBool(S("Custom"), S("Flag"), true));
    EXPECT_EQ(text(doc), "; mine\r\n"
                         "\r\n"
                         "[Options]\r\n"
                         "  ComPort = COM1   \r\n"
                         "Interval=50\r\n"
                         "UDPPort=12345\r\n"
                         "; before the servers\r\n"
                         "junk\r\n"
                         "\r\n"
                         "[Servers]\r\n"
                         "NumServers=1\r\n"
                         "\r\n"
                         "[Custom]\r\n"
                         "Flag=1\r\n");
}

TEST(SettingsDocument, NamesMatchWithoutCaseAndKeepTheFirstSpelling)
{
    SettingsDocument doc;
    EXPECT_FALSE(doc.isModified());
    ASSERT_TRUE(doc.WriteString(S("Options"), S("ComPort"), S("COM3")));
    EXPECT_TRUE(doc.isModified());
    EXPECT_EQ(doc.ReadString(S("Options"), S("COMPort"), S("COM2")), S("COM3"));
    ASSERT_TRUE(doc.WriteString(S("OPTIONS"), S("COMPORT"), S("UDP")));
    EXPECT_EQ(text(doc), "[Options]\nComPort=UDP\n");

    // A file may hold the other spelling first; it stays.
    SettingsDocument other = SettingsDocument::parse("[Options]\nCOMPort=COM1\ncomport=COM4\n");
    ASSERT_TRUE(other.WriteString(S("Options"), S("ComPort"), S("COM2")));
    EXPECT_EQ(text(other), "[Options]\nCOMPort=COM2\n");
}

TEST(SettingsDocument, AnUnchangedValueLeavesTheDocumentUnmodified)
{
    SettingsDocument doc = SettingsDocument::parse("[Options]\nInterval = 60\n");
    ASSERT_TRUE(doc.WriteInteger(S("Options"), S("interval"), 60));
    EXPECT_FALSE(doc.isModified());
    EXPECT_EQ(text(doc), "[Options]\nInterval = 60\n");
}

TEST(SettingsDocument, TheKeyItselfComesFirst)
{
    SettingsDocument doc;
    doc.WriteString(S("Servers"), S("NumServers"), S("0"));
    doc.WriteString(S(""), S("MarlowenServerName"), S("Gym"));
    doc.WriteString(S("\\"), S("Other"), S("x"));
    EXPECT_EQ(text(doc), "MarlowenServerName=Gym\nOther=x\n\n[Servers]\nNumServers=0\n");
    EXPECT_EQ(SettingsDocument::parse("[]\nA=1\n").ReadString(S(""), S("a"), S("")), S("1"));
}

TEST(SettingsDocument, SectionPathsAreNormalised)
{
    EXPECT_EQ(SettingsDocument::normalizeSection(S("\\Servers\\ Server1 \\\\")), S("Servers\\Server1"));
    SettingsDocument doc;
    doc.WriteString(S("Servers\\Server1"), S("Name"), S("A"));
    EXPECT_EQ(doc.ReadString(S(" servers \\SERVER1\\"), S("name"), S("")), S("A"));
    EXPECT_TRUE(doc.hasSection(S("SERVERS\\server1")));
    EXPECT_FALSE(doc.hasSection(S("Servers")));
    EXPECT_TRUE(doc.hasSection(S("")));
}

TEST(SettingsDocument, RemovingASectionTakesEverySectionBelowIt)
{
    SettingsDocument doc = SettingsDocument::parse("MarlowenServerName=B\n"
                                                   "[Servers]\nNumServers=2\n"
                                                   "[Servers\\Server1]\nName=A\n"
                                                   "[Custom]\nTeamID=3\n"
                                                   "[servers\\Server10]\nName=B\n"
                                                   "[ServersOld]\nName=C\n"
                                                   "[Servers\\Server2\\Deeper]\nX=1\n");
    ASSERT_TRUE(doc.removeSection(S("SERVERS")));
    EXPECT_EQ(doc.sections(), (QStringList{S(""), S("Custom"), S("ServersOld")}));
    EXPECT_EQ(text(doc), "MarlowenServerName=B\n\n[Custom]\nTeamID=3\n\n[ServersOld]\nName=C\n");

    SettingsDocument unchanged = SettingsDocument::parse("[Custom]\nTeamID=3\n");
    EXPECT_TRUE(unchanged.removeSection(S("Servers")));
    EXPECT_FALSE(unchanged.isModified());
    EXPECT_FALSE(unchanged.removeSection(S(""))) << "the key itself is not a section to remove";
    EXPECT_FALSE(unchanged.removeSection(S("\\")));
}

TEST(SettingsDocument, IntegersAndBooleansReadFromText)
{
    const struct {
        const char *stored;
        int integer;    // read with the default -7
        bool boolFalse; // read with the default false
        bool boolTrue;  // read with the default true
    } cases[] = {
        {"12", 12, true, true},
        {" 7 ", 7, true, true},
        {"-3", -3, true, true},
        {"+5", 5, true, true},
        {"0", 0, false, false},
        {"1", 1, true, true},
        {"abc", -7, false, true},
        {"12abc", -7, false, true},
        {"", -7, false, true},
        {"1.5", -7, false, true},
        {"true", -7, false, true},
        {"99999999999", -7, false, true},
        {"2147483647", 2147483647, true, true},
        {"-2147483648", -2147483647 - 1, true, true},
    };
    for (const auto &c : cases) {
        SettingsDocument doc;
        doc.WriteString(S("Options"), S("V"), S(c.stored));
        EXPECT_EQ(doc.ReadInteger(S("Options"), S("V"), -7), c.integer) << c.stored;
        EXPECT_EQ(doc.ReadBool(S("Options"), S("V"), false), c.boolFalse) << c.stored;
        EXPECT_EQ(doc.ReadBool(S("Options"), S("V"), true), c.boolTrue) << c.stored;
    }
    SettingsDocument empty;
    EXPECT_EQ(empty.ReadInteger(S("Options"), S("V"), 760), 760);
    EXPECT_TRUE(empty.ReadBool(S("Options"), S("V"), true));
    EXPECT_FALSE(empty.ReadBool(S("Options"), S("V"), false));

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
        {"plain text", "V=plain text"},
        {"C:\\Meets\\out.xml", "V=C:\\Meets\\out.xml"},
        {"pa;ss#word=x", "V=pa;ss#word=x"},
        {"[x]", "V=[x]"},
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
        const QByteArray file = doc.serialize();
        EXPECT_EQ(file.toStdString(), std::string("[S]\n") + c.line + "\n") << c.value;
        EXPECT_EQ(SettingsDocument::parse(file).ReadString(S("S"), S("V"), S("?")), S(c.value)) << c.value;
    }
    // Hand-written quotes and stray backslashes.
    const SettingsDocument hand = SettingsDocument::parse("[S]\nA=\"x\"\nB=\"half\nC=\"a\\qb\"\nD=\"end\\\"\n");
    EXPECT_EQ(hand.ReadString(S("S"), S("A"), S("")), S("x"));
    EXPECT_EQ(hand.ReadString(S("S"), S("B"), S("")), S("\"half"));
    EXPECT_EQ(hand.ReadString(S("S"), S("C"), S("")), S("a\\qb"));
    EXPECT_EQ(hand.ReadString(S("S"), S("D"), S("")), S("end\\"));
}

TEST(SettingsDocument, NamesThatWouldBreakTheFileAreRefused)
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

TEST(SettingsDocument, AFileInTheWindowsCodePageKeepsItsCharacters)
{
    const SettingsDocument doc = SettingsDocument::parse("[Options]\nMySQLServer=caf\xe9\n");
    EXPECT_EQ(doc.ReadString(S("Options"), S("MySQLServer"), S("")), S("café"));
}

TEST(SettingsDocument, AnEmptyOrHeaderOnlyFile)
{
    EXPECT_EQ(text(SettingsDocument::parse("")), "");
    EXPECT_EQ(text(SettingsDocument::parse("\n\n")), "");
    const SettingsDocument headerOnly = SettingsDocument::parse("[Servers]");
    EXPECT_TRUE(headerOnly.hasSection(S("Servers")));
    EXPECT_EQ(text(headerOnly), "[Servers]\n");
}
