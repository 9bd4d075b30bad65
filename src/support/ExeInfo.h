#pragma once

#include <QString>

namespace kestra {

// What the program tells about itself: the version and the maker's notice
// compiled in from the build (the CMake project version), in place of a file
// version resource.
struct ExeInfo {
    QString ProductVersion;
    QString LegalCopyright;

    // The texts of this build.
    static ExeInfo ofThisBuild();

    // The main window's caption: "Kestra v" + version + " - Jumbotron Display
    // Generator, Server: " + the server in use. An empty version leaves
    // "Kestra v" standing alone.
    QString title(const QString &serverName) const;

    // What --version prints: "<program> <version>", then the notice.
    QString versionText(const QString &program) const;
};

} // namespace kestra
