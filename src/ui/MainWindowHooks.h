#pragma once

#include "generator/KestraMain.h"

#include <QString>

class QWidget;

namespace kestra {

class frmKestraMain;

// Attaches the windows and dialogs the main window's logic asks for: the
// setup window, the save dialog of the file targets, the status view and the
// about window, each over the main window. The window must outlive the logic's
// use of the hooks.
void attachWindowHooks(KestraMain &main, frmKestraMain &window);

// The save dialog of btnSelectFile: opens on the current file, adds the
// request's suffix to a bare name; empty when the operator cancels.
QString askSaveFile(const KestraMain::FileRequest &request, QWidget *owner);
// "Text Files|*.TXT" as a dialog filter, "Text Files (*.TXT *.txt)": the
// pattern in both cases, since names on Linux are case-sensitive.
QString fileDialogFilter(const QString &filter);

} // namespace kestra
