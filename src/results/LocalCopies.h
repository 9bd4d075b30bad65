#pragma once

#include "meetdb/MeetSchema.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace kestra {

class MeetStore;
class SqliteStore;

// The results window's local working copies: snapshots of meet database
// tables in an in-memory SQLite database, taken when asked and queried there
// by name, so that the page builds walk and sort without a round trip to the
// server. A copy keeps the types of its source table (32-bit scores stay
// 32-bit) and its primary key.
class LocalCopies {
public:
    explicit LocalCopies(MeetStore &remote);
    ~LocalCopies();
    LocalCopies(const LocalCopies &) = delete;
    LocalCopies &operator=(const LocalCopies &) = delete;

    MeetStore &remote() { return m_remote; }
    // The local database, for the queries that run on the copies.
    MeetStore &local();

    // Copies the rows of `sourceTable` that `where` selects (all when empty;
    // a condition over the source's field names, valid on both engines) into
    // the local table `copyName`, replacing an earlier copy of that name.
    // `fields` limits the copy to those columns (all when empty), in the
    // source's order. Returns the rows copied. Failures of either database
    // are StoreError.
    int copy(const QString &copyName, const QString &sourceTable, const QString &where = {},
             const QStringList &fields = {});

    // The columns of Gymnasts that the results pages read: names, level,
    // session, gym, teams, flags, orders and the score parts they rank by;
    // not the judges' marks beyond the first, the bonuses, nor the scoring
    // station's time stamps.
    static const QStringList &gymnastFields();
    // The part of those one page reads: an apparatus page (1 to 6) its own
    // columns and the second attempt's, an all-around page (below 1) the
    // finals, start values and B scores of every apparatus, a team page (0)
    // the finals, flags and team codes. Fewer columns copy and sort faster.
    static QStringList pageFields(int eventNumber);
    // Removes a copy; nothing when there is none.
    void drop(const QString &copyName);

private:
    QList<FieldDef> columnsOf(const QString &sourceTable, const QStringList &fields) const;
    void createLike(const QString &copyName, const QString &sourceTable, const QList<FieldDef> &columns);
    int copyByAttach(const QString &copyName, const QString &sourceTable, const QString &where,
                     const QList<FieldDef> &columns);
    int copyRows(const QString &copyName, const QString &sourceTable, const QString &where,
                 const QList<FieldDef> &columns);

    MeetStore &m_remote;
    std::unique_ptr<SqliteStore> m_local;
};

} // namespace kestra
