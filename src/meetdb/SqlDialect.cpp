#include "meetdb/SqlDialect.h"

#include "meetdb/MeetSchema.h"

#include <QSet>

#include <vector>

namespace kestra {

using Token = SqlDialect::Token;

QList<Token> SqlDialect::tokenize(const QString &sql)
{
    QList<Token> out;
    const int n = sql.size();
    int i = 0;
    auto isWordStart = [](QChar c) { return c.isLetter() || c == QLatin1Char('_'); };
    auto isWordChar = [](QChar c) {
        return c.isLetterOrNumber() || c == QLatin1Char('_') || c == QLatin1Char('$');
    };
    while (i < n) {
        const QChar c = sql[i];
        const int start = i;
        Token::Type type;
        if (c.isSpace()) {
            while (i < n && sql[i].isSpace())
                ++i;
            type = Token::Space;
        } else if (c == QLatin1Char('-') && i + 1 < n && sql[i + 1] == QLatin1Char('-')) {
            while (i < n && sql[i] != QLatin1Char('\n'))
                ++i;
            type = Token::Comment;
        } else if (c == QLatin1Char('/') && i + 1 < n && sql[i + 1] == QLatin1Char('*')) {
            const int end = sql.indexOf(QLatin1String("*/"), i + 2);
            i = end < 0 ? n : end + 2;
            type = Token::Comment;
        } else if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            ++i;
            while (i < n) {
                if (sql[i] == c) {
                    if (i + 1 < n && sql[i + 1] == c) {
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                ++i;
            }
            type = c == QLatin1Char('\'') ? Token::String : Token::QuotedName;
        } else if (isWordStart(c)) {
            while (i < n && isWordChar(sql[i]))
                ++i;
            type = Token::Word;
        } else if (c.isDigit() || (c == QLatin1Char('.') && i + 1 < n && sql[i + 1].isDigit())) {
            while (i < n && (sql[i].isDigit() || sql[i] == QLatin1Char('.')))
                ++i;
            if (i < n && (sql[i] == QLatin1Char('e') || sql[i] == QLatin1Char('E'))) {
                int j = i + 1;
                if (j < n && (sql[j] == QLatin1Char('+') || sql[j] == QLatin1Char('-')))
                    ++j;
                if (j < n && sql[j].isDigit()) {
                    i = j;
                    while (i < n && sql[i].isDigit())
                        ++i;
                }
            }
            type = Token::Number;
        } else {
            static const QStringList pairs = {QStringLiteral("<>"), QStringLiteral("<="),
                                              QStringLiteral(">="), QStringLiteral("!="),
                                              QStringLiteral("||"), QStringLiteral("::")};
            i += (i + 1 < n && pairs.contains(sql.mid(i, 2))) ? 2 : 1;
            type = Token::Symbol;
        }
        out.append({type, sql.mid(start, i - start)});
    }
    return out;
}

QString SqlDialect::quoteString(const QString &text)
{
    QString q = text;
    q.replace(QLatin1Char('\''), QLatin1String("''"));
    return QLatin1Char('\'') + q + QLatin1Char('\'');
}

QString SqlDialect::quoteName(const QString &name) const
{
    QString q = MeetSchema::physicalName(name, m_backend);
    q.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + q + QLatin1Char('"');
}

namespace {

bool isWord(const Token &t, const char *word)
{
    return t.type == Token::Word && t.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

bool isSymbol(const Token &t, const char *symbol)
{
    return t.type == Token::Symbol && t.text == QLatin1String(symbol);
}

QString nameOf(const Token &t)
{
    if (t.type == Token::QuotedName)
        return t.text.mid(1, t.text.size() - 2).replace(QLatin1String("\"\""), QLatin1String("\""));
    return t.text;
}

QString joinTokens(const QList<Token> &tokens, int from = 0, int to = -1)
{
    QString out;
    if (to < 0)
        to = tokens.size();
    for (int i = from; i < to; ++i)
        out += tokens[i].text;
    return out;
}

struct TableRef {
    QString table; // empty for a derived table
    QString alias;
};

struct Scope {
    int parent = -1;
    int depth = 0;
    int selectPos = -1; // position in the significant-token list
    QList<TableRef> tables;
};

// The statement's significant tokens (no blanks or comments) with, for each, its
// parenthesis depth and the SELECT scope that owns it.
struct Structure {
    std::vector<int> sig; // token indexes
    std::vector<int> depth;
    std::vector<int> owner;
    std::vector<int> match; // for "(" and ")": the other one, as a sig position
    std::vector<Scope> scopes;

    explicit Structure(const QList<Token> &tokens)
    {
        for (int i = 0; i < tokens.size(); ++i) {
            if (tokens[i].type != Token::Space && tokens[i].type != Token::Comment)
                sig.push_back(i);
        }
        const int n = int(sig.size());
        depth.assign(n, 0);
        owner.assign(n, -1);
        match.assign(n, -1);
        struct Frame {
            int open;
            int inherited;
            int current;
        };
        std::vector<Frame> frames{{-1, -1, -1}};
        for (int p = 0; p < n; ++p) {
            const Token &t = tokens[sig[p]];
            if (isSymbol(t, ")") && frames.size() > 1) {
                match[p] = frames.back().open;
                match[frames.back().open] = p;
                frames.pop_back();
            }
            Frame &f = frames.back();
            if (isWord(t, "select")) {
                Scope s;
                s.parent = f.inherited;
                s.depth = int(frames.size()) - 1;
                s.selectPos = p;
                scopes.push_back(s);
                f.current = int(scopes.size()) - 1;
            }
            depth[p] = int(frames.size()) - 1;
            owner[p] = f.current;
            if (isSymbol(t, "("))
                frames.push_back({p, f.current, f.current});
        }
        for (int s = 0; s < int(scopes.size()); ++s)
            readFromList(tokens, s);
    }

    const Token &at(const QList<Token> &tokens, int p) const { return tokens[sig[p]]; }

    void readFromList(const QList<Token> &tokens, int s)
    {
        Scope &scope = scopes[s];
        const int n = int(sig.size());
        int p = scope.selectPos + 1;
        while (p < n && !(owner[p] == s && depth[p] == scope.depth && isWord(at(tokens, p), "from"))) {
            if (depth[p] < scope.depth)
                return;
            ++p;
        }
        static const QSet<QString> stops = {
            QStringLiteral("where"), QStringLiteral("group"), QStringLiteral("order"),
            QStringLiteral("having"), QStringLiteral("union"), QStringLiteral("except"),
            QStringLiteral("intersect"), QStringLiteral("limit"), QStringLiteral("offset"),
            QStringLiteral("on"), QStringLiteral("join"), QStringLiteral("inner"),
            QStringLiteral("left"), QStringLiteral("right"), QStringLiteral("full"),
            QStringLiteral("cross"), QStringLiteral("natural"), QStringLiteral("using"),
            QStringLiteral("select"), QStringLiteral("for"), QStringLiteral("fetch")};
        QList<int> item;
        auto finish = [&] {
            if (item.isEmpty())
                return;
            TableRef ref;
            int i = 0;
            if (isSymbol(at(tokens, item[0]), "(")) {
                const int close = match[item[0]];
                i = item.indexOf(close) + 1;
                if (i <= 0)
                    i = item.size();
            } else {
                ref.table = nameOf(at(tokens, item[0]));
                i = 1;
                while (i + 1 < item.size() && isSymbol(at(tokens, item[i]), ".")) {
                    ref.table = nameOf(at(tokens, item[i + 1]));
                    i += 2;
                }
            }
            if (i < item.size() && isWord(at(tokens, item[i]), "as"))
                ++i;
            if (i < item.size())
                ref.alias = nameOf(at(tokens, item[i]));
            scope.tables << ref;
            item.clear();
        };
        for (++p; p < n; ++p) {
            if (depth[p] < scope.depth)
                break; // the parenthesis that closes this scope
            if (depth[p] > scope.depth)
                continue; // inside a derived table
            const Token &t = at(tokens, p);
            if ((t.type == Token::Word && stops.contains(t.text.toLower())) || isSymbol(t, ";"))
                break;
            if (isSymbol(t, ",")) {
                finish();
                continue;
            }
            item << p;
        }
        finish();
    }

    // The table that a qualifier names in the scope that owns position p, or
    // that an unqualified field belongs to; empty when unknown.
    QString tableForQualifier(int p, const QString &qualifier) const
    {
        for (int s = owner[p]; s >= 0; s = scopes[s].parent) {
            for (const TableRef &r : scopes[s].tables) {
                if (r.alias.compare(qualifier, Qt::CaseInsensitive) == 0)
                    return r.table;
                if (r.alias.isEmpty() && r.table.compare(qualifier, Qt::CaseInsensitive) == 0)
                    return r.table;
            }
        }
        return {};
    }
};

// The operand of "not in": a column, perhaps qualified, at sig positions
// first..last. Gives whether it can never be null and the text that names it
// unambiguously from inside the subquery.
bool resolveOperand(const Structure &st, const QList<Token> &tokens, int first, int last,
                    QString *qualified)
{
    const QString field = nameOf(st.at(tokens, last));
    if (last == first + 2) {
        const TableDef *t = MeetSchema::table(st.tableForQualifier(first, nameOf(st.at(tokens, first))));
        *qualified = joinTokens(tokens, st.sig[first], st.sig[last] + 1);
        return t && t->neverNull(field);
    }
    if (last != first || st.owner[first] < 0)
        return false;
    const TableDef *found = nullptr;
    QString name;
    for (const TableRef &r : st.scopes[st.owner[first]].tables) {
        const TableDef *t = MeetSchema::table(r.table);
        if (t && t->field(field)) {
            if (found)
                return false; // ambiguous
            found = t;
            name = r.alias.isEmpty() ? r.table : r.alias;
        }
    }
    *qualified = name + QLatin1Char('.') + st.at(tokens, last).text;
    return found && found->neverNull(field);
}

bool isColumnToken(const Token &t)
{
    return t.type == Token::Word || t.type == Token::QuotedName;
}

// x not in (select c from T [a] [where w])  ->  not exists (select 1 from T a where (w) and a.c = x)
bool rewriteOneNotIn(QList<Token> &tokens, int &counter)
{
    const Structure st(tokens);
    const int n = int(st.sig.size());
    for (int p = 1; p + 3 < n; ++p) {
        if (!isWord(st.at(tokens, p), "not") || !isWord(st.at(tokens, p + 1), "in")
            || !isSymbol(st.at(tokens, p + 2), "(") || !isWord(st.at(tokens, p + 3), "select"))
            continue;
        // The operand: a column, perhaps qualified, standing alone in its condition.
        int last = p - 1;
        if (!isColumnToken(st.at(tokens, last)))
            continue;
        int first = last;
        if (last >= 2 && isSymbol(st.at(tokens, last - 1), ".") && isColumnToken(st.at(tokens, last - 2)))
            first = last - 2;
        if (first > 0) {
            const Token &before = st.at(tokens, first - 1);
            if (!(isWord(before, "where") || isWord(before, "and") || isWord(before, "or")
                  || isWord(before, "on") || isSymbol(before, "(")))
                continue;
        }
        const int open = p + 2;
        const int close = st.match[open];
        if (close < 0)
            continue;
        const int d = st.depth[open] + 1;
        // The subquery: select [q.]c from T [alias] [where ...]
        int q = open + 2;
        int colLast = q;
        if (q + 2 < close && isSymbol(st.at(tokens, q + 1), "."))
            colLast = q + 2;
        if (!isColumnToken(st.at(tokens, colLast)))
            continue;
        q = colLast + 1;
        if (q >= close || !isWord(st.at(tokens, q), "from"))
            continue;
        ++q;
        if (q >= close || st.at(tokens, q).type != Token::Word)
            continue;
        const QString table = st.at(tokens, q).text;
        ++q;
        QString alias;
        if (q < close && isWord(st.at(tokens, q), "as"))
            ++q;
        if (q < close && st.at(tokens, q).type == Token::Word && !isWord(st.at(tokens, q), "where")) {
            alias = st.at(tokens, q).text;
            ++q;
        }
        int whereFrom = -1;
        if (q < close) {
            if (!isWord(st.at(tokens, q), "where"))
                continue;
            whereFrom = q + 1;
        }
        bool plain = true;
        for (int r = open + 1; r < close && plain; ++r) {
            const Token &t = st.at(tokens, r);
            if (st.depth[r] == d
                && (isWord(t, "group") || isWord(t, "order") || isWord(t, "having")
                    || isWord(t, "union") || isWord(t, "except") || isWord(t, "intersect")
                    || isWord(t, "limit") || isWord(t, "distinct") || (isSymbol(t, ",") && r < q)))
                plain = false;
        }
        if (!plain)
            continue;
        const TableDef *inner = MeetSchema::table(table);
        const QString innerField = nameOf(st.at(tokens, colLast));
        QString operand;
        if (!inner || !inner->neverNull(innerField) || !resolveOperand(st, tokens, first, last, &operand))
            continue;

        if (alias.isEmpty())
            alias = QStringLiteral("nx%1").arg(++counter);
        QString text = QStringLiteral("not exists (select 1 from %1 %2 where ").arg(table, alias);
        if (whereFrom >= 0)
            text += QLatin1Char('(') + joinTokens(tokens, st.sig[whereFrom], st.sig[close]).trimmed()
                    + QStringLiteral(") and ");
        text += QStringLiteral("%1.%2 = %3)").arg(alias, st.at(tokens, colLast).text, operand);
        const QString sql = joinTokens(tokens, 0, st.sig[first]) + text
                            + joinTokens(tokens, st.sig[close] + 1);
        tokens = SqlDialect::tokenize(sql);
        return true;
    }
    return false;
}

void replaceAliasedQualifiers(QList<Token> &tokens)
{
    const Structure st(tokens);
    const int n = int(st.sig.size());
    for (int p = 0; p + 2 < n; ++p) {
        Token &t = tokens[st.sig[p]];
        if (t.type != Token::Word || !isSymbol(st.at(tokens, p + 1), "."))
            continue;
        if (p > 0 && isSymbol(st.at(tokens, p - 1), "."))
            continue;
        const Token &next = st.at(tokens, p + 2);
        if (!isColumnToken(next) && !isSymbol(next, "*"))
            continue;
        bool done = false;
        for (int s = st.owner[p]; s >= 0 && !done; s = st.scopes[s].parent) {
            for (const TableRef &r : st.scopes[s].tables) {
                if (!r.alias.isEmpty() && r.alias.compare(t.text, Qt::CaseInsensitive) == 0) {
                    done = true;
                    break;
                }
                if (r.table.compare(t.text, Qt::CaseInsensitive) == 0) {
                    if (!r.alias.isEmpty())
                        t.text = r.alias;
                    done = true;
                    break;
                }
            }
        }
    }
}

void dropTypedLiteralKeywords(QList<Token> &tokens)
{
    for (int i = 0; i < tokens.size(); ++i) {
        if (!(isWord(tokens[i], "date") || isWord(tokens[i], "time") || isWord(tokens[i], "timestamp")))
            continue;
        int j = i + 1;
        while (j < tokens.size() && tokens[j].type == Token::Space)
            ++j;
        if (j >= tokens.size() || tokens[j].type != Token::String)
            continue;
        int b = i - 1;
        while (b >= 0 && (tokens[b].type == Token::Space || tokens[b].type == Token::Comment))
            --b;
        if (b >= 0 && isSymbol(tokens[b], "."))
            continue;
        tokens.remove(i, j - i);
    }
}

void lowerQuotedNames(QList<Token> &tokens)
{
    for (Token &t : tokens) {
        if (t.type == Token::QuotedName)
            t.text = t.text.toLower();
    }
}

// Whether an ORDER BY item that is a plain column (sig positions in `expr`)
// names a field that can never be null in the table the FROM list gives it.
bool orderItemNeverNull(const Structure &st, const QList<Token> &tokens, const QList<int> &expr)
{
    if (expr.size() == 3 && isSymbol(st.at(tokens, expr[1]), ".") && isColumnToken(st.at(tokens, expr[2]))) {
        const TableDef *t = MeetSchema::table(st.tableForQualifier(expr[0], nameOf(st.at(tokens, expr[0]))));
        return t && t->neverNull(nameOf(st.at(tokens, expr[2])));
    }
    if (expr.size() != 1 || !isColumnToken(st.at(tokens, expr[0])) || st.owner[expr[0]] < 0)
        return false;
    const QString field = nameOf(st.at(tokens, expr[0]));
    const TableDef *found = nullptr;
    for (const TableRef &r : st.scopes[st.owner[expr[0]]].tables) {
        const TableDef *t = MeetSchema::table(r.table);
        if (t && t->field(field)) {
            if (found)
                return false;
            found = t;
        }
    }
    return found && found->neverNull(field);
}

void placeNulls(QList<Token> &tokens)
{
    const Structure st(tokens);
    const int n = int(st.sig.size());
    QList<QPair<int, QString>> inserts; // after token index
    for (int p = 0; p + 1 < n; ++p) {
        if (!isWord(st.at(tokens, p), "order") || !isWord(st.at(tokens, p + 1), "by"))
            continue;
        const int d = st.depth[p];
        QList<int> item;
        auto finish = [&] {
            if (item.isEmpty())
                return;
            bool hasNulls = false;
            for (int q : item)
                hasNulls = hasNulls || isWord(st.at(tokens, q), "nulls");
            const Token &lastTok = st.at(tokens, item.last());
            const bool desc = isWord(lastTok, "desc");
            QList<int> expr = item;
            if (desc || isWord(lastTok, "asc"))
                expr.removeLast();
            if (!hasNulls && !orderItemNeverNull(st, tokens, expr))
                inserts.append({st.sig[item.last()], desc ? QStringLiteral(" NULLS LAST")
                                                          : QStringLiteral(" NULLS FIRST")});
            item.clear();
        };
        int q = p + 2;
        for (; q < n; ++q) {
            if (st.depth[q] < d)
                break;
            const Token &t = st.at(tokens, q);
            if (st.depth[q] == d) {
                if (isSymbol(t, ")") || isSymbol(t, ";") || isWord(t, "limit") || isWord(t, "offset")
                    || isWord(t, "fetch") || isWord(t, "for") || isWord(t, "union")
                    || isWord(t, "except") || isWord(t, "intersect"))
                    break;
                if (isSymbol(t, ",")) {
                    finish();
                    continue;
                }
            }
            item << q;
        }
        finish();
        p = q - 1;
    }
    for (int i = inserts.size() - 1; i >= 0; --i)
        tokens.insert(inserts[i].first + 1, Token{Token::Word, inserts[i].second});
}

} // namespace

QString SqlDialect::translate(const QString &sql) const
{
    QList<Token> tokens = tokenize(sql);
    int counter = 0;
    while (rewriteOneNotIn(tokens, counter)) {
    }
    replaceAliasedQualifiers(tokens);
    if (m_backend == StoreBackend::Sqlite) {
        dropTypedLiteralKeywords(tokens);
    } else {
        lowerQuotedNames(tokens);
        placeNulls(tokens);
    }
    return joinTokens(tokens);
}

} // namespace kestra
