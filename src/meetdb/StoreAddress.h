#pragma once

#include "meetdb/StoreError.h"

#include <QString>

#include <optional>

namespace kestra {

// Where a meet database lives, read from the address text the operator gives:
//   "/srv/meet", "~/meet", "./meet"  a folder holding "<alias>.sqlite" (SQLite);
//                                    a relative folder is taken from the
//                                    current one
//   "10.0.0.5", "scoring:5433"       a PostgreSQL server, port 5432 unless given
//   "kestra@10.0.0.5"                the same, logging in as that role
//   "[::1]:5432"                     an IPv6 address takes brackets when a port follows
//   "postgresql://kestra@scoring:5433/marlowen?sslmode=require"
//                                    a libpq URI; a database in its path is
//                                    used in place of the alias's
// The role defaults to $PGUSER, else "postgres"; a password comes from the
// URI or the usual libpq places ($PGPASSWORD, ~/.pgpass).
struct StoreAddress {
    StoreBackend backend = StoreBackend::Sqlite;
    QString folder; // SQLite: the folder, "~" expanded, no trailing slash
    QString host;   // PostgreSQL
    int port = 5432;
    QString user;
    QString uri;      // PostgreSQL given as a URI: the whole text, for libpq
    QString database; // the URI's database, if it names one

    // The address in its canonical form, e.g. "127.0.0.1:5432" or "/srv/meet".
    QString display() const;

    // Nullopt and a one-line reason for text that is neither a path nor a host.
    static std::optional<StoreAddress> parse(const QString &text, QString *error = nullptr);

    // The forms an address takes, in one sentence, for messages.
    static QString acceptedForms();
    // For a bare word ("meet", "scoring") that named no server that answers:
    // what was tried and the forms an address takes, so that a folder meant
    // as "meet" is written "./meet" next time. Empty for any other text.
    static QString explainBareWord(const QString &text, const QString &reason);
};

} // namespace kestra
