#include "results/ResultsPicks.h"

#include "results/ResultsGraphic.h"
#include "support/DataRows.h"

#include <QHash>

namespace kestra {

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

// Chooses the lookup item whose key is `id`.
QString pickKey(LogicalControl &lookup, const QString &key, const QString &value)
{
    bool ok = false;
    const int id = value.toInt(&ok);
    const QVariantList keys = lookup.property(S("keys")).toList();
    for (int i = 0; i < keys.size() && ok; ++i) {
        if (keys[i].toInt() == id) {
            lookup.operatorSelect(i);
            return QString();
        }
    }
    return QStringLiteral("%1=%2: there is no such %1 (%3)").arg(key, value, lookup.items().join(S(", ")));
}

// Checks exactly the named items of a checked list: by their text, or by the
// value of `alsoField` in their row.
QString pickItems(OzkcxCheckedCombo &list, const QString &key, const QString &value, const QString &alsoField = {})
{
    QList<int> wanted;
    for (const QString &part : value.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QString name = part.trimmed();
        int found = list.descriptions().indexOf(name);
        for (int i = 0; found < 0 && !alsoField.isEmpty() && i < list.itemCount(); ++i) {
            list.MoveToItem(i);
            if (list.dataSource() && list.dataSource()->current(alsoField).toString() == name)
                found = i;
        }
        if (found < 0)
            return QStringLiteral("%1=%2: %3 is not among %4").arg(key, value, quoted(name), list.descriptions().join(S(", ")));
        wanted << found;
    }
    if (wanted.isEmpty())
        return QStringLiteral("%1: name at least one").arg(key);
    list.itemClicked(wanted.first(), false, false);
    for (int i : wanted.mid(1)) {
        if (!list.IsChecked(i))
            list.itemClicked(i, true, false);
    }
    return QString();
}

QString pickFlag(LogicalControl &check, const QString &key, const QString &value)
{
    if (value != QLatin1String("0") && value != QLatin1String("1"))
        return QStringLiteral("%1=%2: 1 or 0").arg(key, value);
    if (!check.isEnabled())
        return QStringLiteral("%1 does not apply to this page").arg(key);
    check.operatorSetChecked(value == QLatin1String("1"));
    return QString();
}

QString pickNumber(LogicalControl &edit, const QString &key, const QString &value, int low, int high)
{
    bool ok = false;
    const int n = value.toInt(&ok);
    if (!ok || n < low || n > high)
        return QStringLiteral("%1=%2: a whole number from %3 to %4").arg(key, value).arg(low).arg(high);
    edit.operatorSetText(QString::number(n));
    return QString();
}

} // namespace

QStringList resultsPickKeys()
{
    return {S("meet"),  S("meet2"),  S("meet3"),    S("meet4"),     S("pct1"),        S("pct2"),   S("pct3"),
            S("pct4"),  S("group"),  S("event"),    S("channel"),   S("title"),       S("sessions"), S("levels"),
            S("ages"),  S("gyms"),  S("places"), S("fa"),       S("ncaa"),      S("grid"),        S("twoattempts"),
            S("exhib"), S("count"),  S("aa"),       S("designate"), S("team"),        S("teamids")};
}

QString applyResultsPicks(ResultsGraphic &w, const QStringList &picks)
{
    QHash<QString, QString> given;
    for (const QString &pick : picks) {
        const qsizetype eq = pick.indexOf(QLatin1Char('='));
        const QString key = pick.left(eq).trimmed().toLower();
        if (!resultsPickKeys().contains(key))
            return QStringLiteral("%1 is not a pick of a page (%2)").arg(quoted(key), resultsPickKeys().join(S(", ")));
        given.insert(key, pick.mid(eq + 1).trimmed());
    }
    // In the operator's order: a meet resets the group, a group the events,
    // sessions the levels, levels and the team field the team list.
    for (const QString &key : resultsPickKeys()) {
        if (!given.contains(key))
            continue;
        const QString value = given.value(key);
        QString problem;
        if (key == QLatin1String("meet")) {
            problem = pickKey(w(S("dblcboMeet1")), key, value);
        } else if (key.startsWith(QLatin1String("meet"))) {
            w(S("chkMeet") + key.right(1)).operatorSetChecked(true);
            problem = pickKey(w(S("dblcboMeet") + key.right(1)), key, value);
        } else if (key.startsWith(QLatin1String("pct"))) {
            problem = pickNumber(w(S("EditPct") + key.right(1)), key, value, 1, 100);
        } else if (key == QLatin1String("group")) {
            problem = pickKey(w(S("dblcboEvents")), key, value);
        } else if (key == QLatin1String("event")) {
            LogicalControl &events = w(S("cboEvents"));
            bool number = false;
            const int n = value.toInt(&number);
            int index = number ? n - 1 : -1;
            for (int i = 0; !number && i < events.items().size(); ++i) {
                if (events.items()[i].compare(value, Qt::CaseInsensitive) == 0)
                    index = i;
            }
            if (index < 0 || index >= events.items().size())
                problem = QStringLiteral("event=%1: one of %2, or its number").arg(value, events.items().join(S(", ")));
            else
                events.operatorSelect(index);
        } else if (key == QLatin1String("channel")) {
            if (value != QLatin1String("1") && value != QLatin1String("2") && value != QLatin1String("3"))
                problem = S("channel: 1, 2 or 3 (the matrix is a team page with ncaa=1 and grid=1)");
            else
                w(S("rdoLeader") + value).operatorSetChecked(true);
        } else if (key == QLatin1String("title")) {
            w(S("EditTitle")).operatorSetText(value);
        } else if (key == QLatin1String("sessions")) {
            problem = pickItems(w.checkedList(S("chkcboSession")), key, value);
        } else if (key == QLatin1String("levels")) {
            problem = pickItems(w.checkedList(S("chkcboLevels")), key, value);
        } else if (key == QLatin1String("ages")) {
            if (!w(S("chkcboAges")).isEnabled())
                problem = S("ages: age groups are chosen for one level of a meet with age divisions");
            else
                problem = pickItems(w.checkedList(S("chkcboAges")), key, value);
        } else if (key == QLatin1String("gyms")) {
            problem = pickItems(w.checkedList(S("chkcboGyms")), key, value, S("GymID"));
        } else if (key == QLatin1String("places")) {
            problem = pickNumber(w(S("EditPlaces")), key, value, 0, 999);
        } else if (key == QLatin1String("count")) {
            problem = pickNumber(w(S("EditCount")), key, value, 0, 999);
        } else if (key == QLatin1String("aa")) {
            problem = pickNumber(w(S("EditAA")), key, value, 0, 99);
        } else if (key == QLatin1String("designate")) {
            const int index = QStringList{S("gym"), S("id"), S("aa")}.indexOf(value.toLower());
            if (index < 0)
                problem = S("designate: gym, id or aa");
            else
                w(S("rgrpDesignate")).operatorSelect(index);
        } else if (key == QLatin1String("team")) {
            const int index = QStringList{S("1"), S("2"), S("3"), S("none")}.indexOf(value.toLower());
            if (index < 0)
                problem = S("team: 1, 2, 3 or none");
            else
                w(S("rgrpTeam")).operatorSelect(index);
        } else if (key == QLatin1String("teamids")) {
            problem = pickItems(w.checkedList(S("chkcboTeamID")), key, value);
        } else {
            const QHash<QString, QString> checks = {{S("fa"), S("chkFACannot")},      {S("ncaa"), S("chkNCAA")},
                                                    {S("grid"), S("chkNCAAGrid")},    {S("twoattempts"), S("chk2Attempt")},
                                                    {S("exhib"), S("chkIncExhib")}};
            problem = pickFlag(w(checks.value(key)), key, value);
        }
        if (!problem.isEmpty())
            return problem;
    }
    return QString();
}

} // namespace kestra
