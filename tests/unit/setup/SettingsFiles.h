#pragma once

// Settings files read and written by hand, as the other programs sharing them do.

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QString>

#include <string>

namespace kestra::test {

// The file's bytes, or "<none>" when there is no file to read.
inline std::string contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string("<none>");
}

inline void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

} // namespace kestra::test
