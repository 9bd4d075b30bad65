#pragma once

#include <QString>

class QAbstractButton;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QWidget;

namespace kestra {

class LogicalControl;

// Draws logical controls as widgets and keeps both in step: a change of the
// control's state redraws its widget, the operator's action on the widget
// goes to the control as the operator's (click, operatorSetChecked,
// operatorSetText, operatorSelect), and a focus request moves the keyboard
// focus. The widget's objectName is the control's name.
//
// Connections live as long as both ends; either may be destroyed first.
namespace ControlBinder {

// The kinds a control names in its property "kind". A control without one is
// known by the prefix of its name ("btn", "chk", "rdo", "Edit", "cbo",
// "dblcbo", "lbl", "lst", "grpStatus", "rgrp", "grp").
QString kindOf(const LogicalControl &control);

// A bound widget of the control's kind: button QPushButton, check QCheckBox,
// radio QRadioButton, edit QLineEdit, combo an editable QComboBox, lookup a
// QComboBox, list a QListWidget, label QLabel, status a coloured QLabel, radiogroup a QGroupBox
// of radio buttons, group an empty QGroupBox. An unknown kind is drawn as a
// label.
QWidget *create(LogicalControl &control, QWidget *parent);

QPushButton *button(LogicalControl &control, QWidget *parent);
QCheckBox *check(LogicalControl &control, QWidget *parent);
// Radio buttons with the same parent widget are one group: checking one
// unchecks the others' controls first, as the platform does, then runs the
// checked one's handler. Clicking the checked one does nothing.
QRadioButton *radio(LogicalControl &control, QWidget *parent);
QLineEdit *edit(LogicalControl &control, QWidget *parent);
// An editable list: picking an item makes the control's text that item's key
// (property "keys", one an item; the item itself without one), typing sets
// the text. Both run the handler. Items with a description (property
// "descriptions") are listed as "item - description".
QComboBox *combo(LogicalControl &control, QWidget *parent);
// A list of a table's rows: picking runs operatorSelect with the row.
QComboBox *lookup(LogicalControl &control, QWidget *parent);
// A list box of the items: picking one runs operatorSelect with its row.
QListWidget *list(LogicalControl &control, QWidget *parent);
QLabel *label(LogicalControl &control, QWidget *parent);
// The text on the control's colour (0x00BBGGRR).
QLabel *status(LogicalControl &control, QWidget *parent);
// Titled by the control's text (its "caption" without one), one radio button an item (objectName
// name + "Item" + index), laid out in property "columns" columns (all in one
// row without it); rebuilt when the items change.
QGroupBox *radioGroup(LogicalControl &control, QWidget *parent);
// A titled frame that other widgets are put in.
QGroupBox *group(LogicalControl &control, QWidget *parent);

// The common part of every binding: objectName, enabled, visible, the hint
// as tooltip and focus requests. create() and the functions above call it.
void bindCommon(QWidget *widget, LogicalControl &control);

// The control a widget was bound to, nullptr for none.
LogicalControl *controlOf(const QWidget *widget);

// 0x00BBGGRR, the colour form of the logic, as "#rrggbb".
QString colorName(int bgr);

} // namespace ControlBinder

} // namespace kestra
