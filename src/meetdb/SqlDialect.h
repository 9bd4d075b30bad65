#pragma once

#include "meetdb/StoreError.h"

#include <QList>
#include <QString>

namespace kestra {

// The program composes its statements in the meet database's own SQL dialect.
// SqlDialect turns such a statement into one that the engine behind the store
// accepts, just before it runs:
//   - a table name used as a qualifier while the FROM list gives the table an
//     alias becomes the alias ("select ScoreQueue.* from ScoreQueue s");
//   - "x not in (select c from T where ...)" becomes a correlated "not exists"
//     when neither side can be null (the schema says so), which both engines
//     answer with an index lookup instead of materialising the subquery;
//   - SQLite: "date 'yyyy-mm-dd'" becomes the text literal, which compares
//     right with the stored 'YYYY-MM-DD' text;
//   - PostgreSQL: double-quoted names are lower-cased as the schema's names
//     are; ORDER BY items get NULLS FIRST (ascending) or NULLS LAST
//     (descending), so nulls sort below every value on both engines.
// Everything else (TRUE/FALSE, coalesce, in lists, distinct, comma joins,
// ORDER BY aliases, blanks, line breaks) passes through unchanged: both engines
// read it as written.
class SqlDialect {
public:
    explicit SqlDialect(StoreBackend backend) : m_backend(backend) {}

    StoreBackend backend() const { return m_backend; }
    QString translate(const QString &sql) const;

    // 'text' with inner quotes doubled.
    static QString quoteString(const QString &text);
    // "name" with inner quotes doubled, lower case on PostgreSQL.
    QString quoteName(const QString &name) const;

    struct Token {
        enum Type { Space, Comment, Word, QuotedName, String, Number, Symbol };
        Type type;
        QString text;
    };
    static QList<Token> tokenize(const QString &sql);

private:
    StoreBackend m_backend;
};

} // namespace kestra
