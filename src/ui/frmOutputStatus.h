#pragma once

#include <QDialog>

class QWidget;

namespace kestra {

class OutputStatus;

// "Output Status": the display block as the boards were last told it, one
// label a field, raw, trailing spaces kept, in a monospaced font so that the
// width of every field shows. Non-modal; only draws its logic's labels.
class frmOutputStatus final : public QDialog {
    Q_OBJECT
public:
    explicit frmOutputStatus(OutputStatus &status, QWidget *parent = nullptr);

    // Button1 of the main window: the first press makes the window, later
    // presses find it, restore it when minimised and bring it to the front.
    static frmOutputStatus *showFor(OutputStatus &status, QWidget *parent);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    OutputStatus &m_status;
};

} // namespace kestra
