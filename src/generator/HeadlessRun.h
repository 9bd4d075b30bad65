#pragma once

#include "generator/HeadlessOptions.h"

#include <QString>

#include <optional>

namespace kestra {

class KestraMain;

// A run without windows: the main window's lifecycle driven by the command
// line instead of the operator. begin() creates and shows the window's logic,
// makes the picks through the same controls and handlers an operator uses,
// and presses Start; finish() stops and closes in order.
class HeadlessRun {
public:
    enum class Outcome {
        Running, // Start was accepted (the state may show "Paused")
        GaveUp,  // the connection at creation was given up
        Refused, // a pick was not possible or Start refused it; see lastError()
        SampleSent,   // --sample-only: the sample went out, nothing runs
        SampleFailed, // --sample-only: a failure stopped the sample (already told)
    };

    HeadlessRun(KestraMain &main, HeadlessOptions options);

    // With --compose-page, begin() makes the meet pick only; composePage()
    // then answers the line, or nothing with lastError().
    Outcome begin();
    std::optional<QString> composePage();
    // Stop when running, then the close; safe to call more than once.
    void finish();

    const QString &lastError() const { return m_lastError; }
    // One line for the log: what the run follows and where it sends (or,
    // with --sample-only, where the sample went).
    QString describe() const;

private:
    QString describeSelection() const;
    bool pick(bool done, const QString &what, const QString &why);
    bool startResults();

    KestraMain &m_main;
    HeadlessOptions m_options;
    QString m_lastError;
    bool m_finished = false;
};

} // namespace kestra
