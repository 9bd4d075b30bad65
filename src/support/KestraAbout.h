#pragma once

#include "support/ExeInfo.h"
#include "support/LogicalControl.h"

#include <QObject>
#include <QString>

namespace kestra {

// The logic of "About Kestra": the product's name and description in bold
// (lblProduct, lblDescription), "Version " + the product version
// (lblVersion), the maker's notice without its "All rights reserved" part
// (lblCopyright), and btnOK, which closes the window.
class KestraAbout : public QObject {
    Q_OBJECT
public:
    static const QString Caption; // also the heading, lblHeading

    explicit KestraAbout(const ExeInfo &info = ExeInfo::ofThisBuild(), QObject *parent = nullptr);

    ControlSet &controls() { return m_controls; }
    LogicalControl &operator()(const QString &name) const { return m_controls(name); }

    // The notice cut at the words "All rights reserved": found at position
    // p, counted from 1, only the first p - 4 characters stay, so the three
    // characters before the words go too. A notice without them stays whole.
    static QString copyrightLine(const QString &legalCopyright);

signals:
    void closeRequested();

private:
    ControlSet m_controls;
};

} // namespace kestra
