#include "support/DataRows.h"
#include "support/OzkcxCheckedCombo.h"

#include <gtest/gtest.h>

using namespace kestra;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

// Sessions with a code and a description column; rows "1", "2B", "O'B", "4".
struct Sessions {
    Sessions(bool allowNone = false)
    {
        rows.reset({S("Session"), S("Desc")},
                   {{S("1"), S("Morning")}, {S("2B"), S("Noon")}, {S("O'B"), S("Night")}, {S("4"), S("Late")}});
        list.setDataSource(&rows);
        list.setDataField(S("Session"));
        list.setAllowNone(allowNone);
        list.LoadItems(false);
    }
    QString checks() const
    {
        QString out;
        for (int i = 0; i < list.itemCount(); ++i)
            out += list.IsChecked(i) ? QLatin1Char('x') : QLatin1Char('.');
        return out;
    }
    DataRows rows;
    OzkcxCheckedCombo list{S("chkcboSession")};
};

TEST(CheckedCombo, ClicksFollowTheirRules)
{
    const struct {
        bool allowNone;
        std::vector<std::tuple<int, bool, bool>> clicks; // index, ctrl, shift
        const char *checks;
        int count;
        const char *text;
    } cases[] = {
        // Loaded with SelectNone: without AllowNone the first stays checked.
        {false, {}, "x...", 1, "1"},
        {true, {}, "....", 0, "None"},
        // A plain click selects that item alone, even a checked one.
        {false, {{2, false, false}}, "..x.", 1, "O'B"},
        {false, {{0, false, false}}, "x...", 1, "1"},
        // Ctrl toggles; the last one stays unless none is allowed.
        {false, {{1, true, false}}, "xx..", 2, "Multiple"},
        {false, {{0, true, false}}, "x...", 1, "1"},
        {true, {{0, false, false}, {0, true, false}}, "....", 0, "None"},
        // Shift checks from the last clicked (or the first) to this one, both ways.
        {false, {{3, false, true}}, "xxxx", 4, "All"},
        {false, {{3, false, false}, {1, false, true}}, ".xxx", 3, "Multiple"},
        {true, {{1, false, false}, {2, true, false}, {3, false, true}}, ".xxx", 3, "Multiple"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.checks);
        Sessions s(c.allowNone);
        for (const auto &[index, ctrl, shift] : c.clicks)
            s.list.itemClicked(index, ctrl, shift);
        EXPECT_EQ(s.checks(), S(c.checks));
        EXPECT_EQ(s.list.SelectedCount(), c.count);
        EXPECT_EQ(s.list.text(), S(c.text));
    }
}

TEST(CheckedCombo, TextStateAndTheDataSetFollowTheSelection)
{
    Sessions s;
    s.list.SelectAll();
    EXPECT_EQ(s.list.text(), S("All"));
    EXPECT_EQ(s.list.SelectState(), OzkcxCheckedCombo::All);
    // One checked item says its name and puts the data set on its row.
    s.list.itemClicked(2, false, false);
    EXPECT_EQ(s.list.SelectState(), OzkcxCheckedCombo::One);
    EXPECT_EQ(s.rows.current(S("Desc")).toString(), S("Night"));
    s.list.SetAllSelected(true);
    EXPECT_EQ(s.list.text(), S("All"));
    s.list.SetAllSelected(false);
    EXPECT_EQ(s.list.text(), S("All")) << "every item is checked now";

    // A one-item list with its item checked says the name, not "All".
    DataRows one;
    one.reset({S("Level")}, {{S("4")}});
    OzkcxCheckedCombo levels(S("chkcboLevels"));
    levels.setDataSource(&one);
    levels.setDataField(S("Level"));
    levels.LoadItems(true);
    EXPECT_EQ(levels.text(), S("4"));
}

TEST(CheckedCombo, AnUnchangedListKeepsItsMarksAndAChangedOneStartsOver)
{
    Sessions s;
    s.list.itemClicked(1, true, false);
    s.list.LoadItems(true);
    EXPECT_EQ(s.checks(), S("xx..")) << "same descriptions: the marks stay";
    s.rows.reset({S("Session"), S("Desc")}, {{S("1"), S("Morning")}, {S("3"), S("Evening")}});
    s.list.LoadItems(true);
    EXPECT_EQ(s.checks(), S("xx"));
    EXPECT_EQ(s.list.descriptions(), (QStringList{S("1"), S("3")}));

    // No field, no source: nothing is loaded and nothing fails.
    OzkcxCheckedCombo teams(S("chkcboTeamID"));
    teams.setDataSource(nullptr);
    teams.LoadItems(true);
    EXPECT_EQ(teams.itemCount(), 0);
    EXPECT_EQ(teams.text(), S("None"));
}

TEST(CheckedCombo, SelectionsInTheirQuoteModesAndDuplicateRowsReadTheFirst)
{
    Sessions s;
    s.list.SelectAll();
    s.list.itemClicked(3, true, false);
    EXPECT_EQ(s.list.GetSelection(S("Session"), 1), S("'1','2B','O''B'"));
    EXPECT_EQ(s.list.GetSelection(S("Session"), 2), S("\"1\",\"2B\",\"O'B\""));
    EXPECT_EQ(s.list.GetSelection(S("Desc"), 0), S("Morning,Noon,Night"));
    EXPECT_EQ(s.rows.current(S("Session")).toString(), S("O'B")) << "the walk ends on the last selected row";

    // Two rows with the same text: both items find the first row.
    s.rows.reset({S("Session"), S("Desc")}, {{S("1"), S("first")}, {S("1"), S("second")}});
    s.list.LoadItems(true);
    EXPECT_EQ(s.list.GetSelection(S("Desc"), 0), S("first,first"));
}

} // namespace
