#include "ui/ControlBinder.h"

#include "support/LogicalControl.h"

#include <QCheckBox>
#include <QColor>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>

#include <algorithm>
#include <memory>
#include <vector>

namespace kestra::ControlBinder {

namespace {

const char *const ControlProperty = "kestraControl";

// A radio button unchecked by the logic must lose its mark even when it is
// the only checked one of its group, which auto-exclusive buttons refuse.
void setRadioChecked(QAbstractButton *radio, bool checked)
{
    if (radio->isChecked() == checked)
        return;
    const QSignalBlocker quiet(radio);
    if (!checked && radio->autoExclusive()) {
        radio->setAutoExclusive(false);
        radio->setChecked(false);
        radio->setAutoExclusive(true);
    } else {
        radio->setChecked(checked);
    }
}

QStringList keysOf(const LogicalControl &control)
{
    return control.property(QStringLiteral("keys")).toStringList();
}

// Session boxes list their keys with a description each: the list shows
// both ("2 - Levels 6-8"), the box's text stays the key.
QStringList shownItems(const LogicalControl &control)
{
    const QStringList descriptions = control.property(QStringLiteral("descriptions")).toStringList();
    QStringList shown = control.items();
    for (int i = 0; i < shown.size(); ++i) {
        const QString description = descriptions.value(i).trimmed();
        if (!description.isEmpty())
            shown[i] += QStringLiteral(" - ") + description;
    }
    return shown;
}

void syncItems(QComboBox *box, const LogicalControl &control)
{
    const QStringList wanted = shownItems(control);
    QStringList shown;
    for (int i = 0; i < box->count(); ++i)
        shown.append(box->itemText(i));
    if (shown != wanted) {
        box->clear();
        box->addItems(wanted);
    }
    if (box->currentIndex() != control.currentIndex())
        box->setCurrentIndex(control.currentIndex());
}

} // namespace

QString kindOf(const LogicalControl &control)
{
    const QString kind = control.property(QStringLiteral("kind")).toString();
    if (!kind.isEmpty())
        return kind;
    const QString &name = control.name();
    static const struct {
        const char *prefix;
        const char *kind;
    } prefixes[] = {{"dblcbo", "lookup"}, {"chkcbo", "combo"}, {"dxbtn", "button"}, {"sbtn", "button"},
                    {"btn", "button"},    {"Button", "button"}, {"chk", "check"},   {"rdo", "radio"},
                    {"Edit", "edit"},     {"cbo", "combo"},     {"grpStatus", "status"}, {"rgrp", "radiogroup"},
                    {"lbl", "label"},     {"Label", "label"},   {"lst", "list"},    {"grp", "group"}};
    for (const auto &p : prefixes) {
        if (name.startsWith(QLatin1String(p.prefix)))
            return QString::fromLatin1(p.kind);
    }
    return QStringLiteral("label");
}

LogicalControl *controlOf(const QWidget *widget)
{
    if (!widget)
        return nullptr;
    return qobject_cast<LogicalControl *>(widget->property(ControlProperty).value<QObject *>());
}

QString colorName(int bgr)
{
    const int r = bgr & 0xFF;
    const int g = (bgr >> 8) & 0xFF;
    const int b = (bgr >> 16) & 0xFF;
    return QColor(r, g, b).name();
}

void bindCommon(QWidget *widget, LogicalControl &control)
{
    widget->setObjectName(control.name());
    widget->setProperty(ControlProperty, QVariant::fromValue<QObject *>(&control));
    auto sync = [widget, &control] {
        widget->setEnabled(control.isEnabled());
        // A new child counts as hidden until its window shows; only an
        // explicit hide keeps it hidden then, so the first state is always set.
        if (widget->isHidden() == control.isVisible() || !widget->testAttribute(Qt::WA_WState_ExplicitShowHide))
            widget->setHidden(!control.isVisible());
        const QString hint = control.property(QStringLiteral("hint")).toString();
        if (widget->toolTip() != hint)
            widget->setToolTip(hint);
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, widget, sync);
    QObject::connect(&control, &LogicalControl::focusRequested, widget,
                     [widget] { widget->setFocus(Qt::OtherFocusReason); });
}

QPushButton *button(LogicalControl &control, QWidget *parent)
{
    auto *widget = new QPushButton(control.text(), parent);
    bindCommon(widget, control);
    QObject::connect(&control, &LogicalControl::changed, widget, [widget, &control] {
        if (widget->text() != control.text())
            widget->setText(control.text());
    });
    QObject::connect(widget, &QPushButton::clicked, &control, [&control] { control.click(); });
    return widget;
}

QCheckBox *check(LogicalControl &control, QWidget *parent)
{
    auto *widget = new QCheckBox(control.text(), parent);
    bindCommon(widget, control);
    auto sync = [widget, &control] {
        if (widget->text() != control.text())
            widget->setText(control.text());
        if (widget->isChecked() != control.isChecked()) {
            const QSignalBlocker quiet(widget);
            widget->setChecked(control.isChecked());
        }
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, widget, sync);
    // The handler may change the state again; the widget follows whatever it
    // leaves.
    QObject::connect(widget, &QCheckBox::clicked, &control, [widget, &control](bool checked) {
        control.operatorSetChecked(checked);
        const QSignalBlocker quiet(widget);
        widget->setChecked(control.isChecked());
    });
    return widget;
}

QRadioButton *radio(LogicalControl &control, QWidget *parent)
{
    auto *widget = new QRadioButton(control.text(), parent);
    bindCommon(widget, control);
    auto sync = [widget, &control] {
        if (widget->text() != control.text())
            widget->setText(control.text());
        setRadioChecked(widget, control.isChecked());
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, widget, sync);
    QObject::connect(widget, &QRadioButton::clicked, &control, [widget, &control] {
        if (control.isChecked()) {
            setRadioChecked(widget, true);
            return;
        }
        if (QWidget *group = widget->parentWidget()) {
            const auto siblings = group->findChildren<QRadioButton *>(Qt::FindDirectChildrenOnly);
            for (QRadioButton *sibling : siblings) {
                LogicalControl *other = controlOf(sibling);
                if (sibling != widget && other)
                    other->setChecked(false);
            }
        }
        control.operatorSetChecked(true);
        setRadioChecked(widget, control.isChecked());
    });
    return widget;
}

QLineEdit *edit(LogicalControl &control, QWidget *parent)
{
    auto *widget = new QLineEdit(control.text(), parent);
    bindCommon(widget, control);
    widget->setReadOnly(control.property(QStringLiteral("readOnly")).toBool());
    QObject::connect(&control, &LogicalControl::changed, widget, [widget, &control] {
        if (widget->text() != control.text()) {
            const QSignalBlocker quiet(widget);
            widget->setText(control.text());
        }
    });
    QObject::connect(widget, &QLineEdit::textEdited, &control,
                     [&control](const QString &text) { control.operatorSetText(text); });
    return widget;
}

QComboBox *combo(LogicalControl &control, QWidget *parent)
{
    auto *widget = new QComboBox(parent);
    widget->setEditable(true);
    widget->setInsertPolicy(QComboBox::NoInsert);
    bindCommon(widget, control);
    auto sync = [widget, &control] {
        const QSignalBlocker quiet(widget);
        syncItems(widget, control);
        if (widget->currentText() != control.text())
            widget->setEditText(control.text());
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, widget, sync);
    QObject::connect(widget, &QComboBox::activated, &control, [widget, &control](int index) {
        const QStringList keys = keysOf(control);
        const QString key = index >= 0 && index < keys.size() ? keys.at(index) : control.items().value(index);
        control.setCurrentIndex(index);
        control.operatorSetText(key);
        const QSignalBlocker quiet(widget);
        widget->setEditText(control.text());
    });
    QObject::connect(widget->lineEdit(), &QLineEdit::textEdited, &control,
                     [&control](const QString &text) { control.operatorSetText(text); });
    return widget;
}

QComboBox *lookup(LogicalControl &control, QWidget *parent)
{
    auto *widget = new QComboBox(parent);
    bindCommon(widget, control);
    auto sync = [widget, &control] {
        const QSignalBlocker quiet(widget);
        syncItems(widget, control);
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, widget, sync);
    QObject::connect(widget, &QComboBox::activated, &control, [widget, &control](int index) {
        if (index != control.currentIndex())
            control.operatorSelect(index);
        const QSignalBlocker quiet(widget);
        widget->setCurrentIndex(control.currentIndex());
    });
    return widget;
}

QListWidget *list(LogicalControl &control, QWidget *parent)
{
    auto *widget = new QListWidget(parent);
    widget->setSelectionMode(QAbstractItemView::SingleSelection);
    bindCommon(widget, control);
    auto sync = [widget, &control] {
        const QSignalBlocker quiet(widget);
        QStringList shown;
        for (int i = 0; i < widget->count(); ++i)
            shown.append(widget->item(i)->text());
        if (shown != control.items()) {
            widget->clear();
            widget->addItems(control.items());
        }
        if (widget->currentRow() != control.currentIndex())
            widget->setCurrentRow(control.currentIndex());
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, widget, sync);
    QObject::connect(widget, &QListWidget::currentRowChanged, &control, [&control](int row) {
        if (row >= 0 && row != control.currentIndex())
            control.operatorSelect(row);
    });
    return widget;
}

QLabel *label(LogicalControl &control, QWidget *parent)
{
    auto *widget = new QLabel(control.text(), parent);
    bindCommon(widget, control);
    QObject::connect(&control, &LogicalControl::changed, widget, [widget, &control] {
        if (widget->text() != control.text())
            widget->setText(control.text());
    });
    return widget;
}

QLabel *status(LogicalControl &control, QWidget *parent)
{
    auto *widget = new QLabel(parent);
    widget->setAlignment(Qt::AlignCenter);
    widget->setFrameShape(QFrame::Panel);
    widget->setFrameShadow(QFrame::Sunken);
    widget->setMinimumHeight(32);
    QFont font = widget->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.3);
    widget->setFont(font);
    bindCommon(widget, control);
    auto sync = [widget, &control] {
        widget->setText(control.text());
        const QColor back(colorName(control.color()));
        const QString fore = back.lightness() < 110 ? QStringLiteral("#ffffff") : QStringLiteral("#000000");
        widget->setStyleSheet(QStringLiteral("QLabel { background-color: %1; color: %2; }").arg(back.name(), fore));
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, widget, sync);
    return widget;
}

QGroupBox *radioGroup(LogicalControl &control, QWidget *parent)
{
    auto *box = new QGroupBox(parent);
    bindCommon(box, control);
    auto *grid = new QGridLayout(box);
    // The buttons as last drawn, to tell a change of items from one of the
    // choice. Old buttons go later: the click that changed the items may
    // still be running in one of them.
    struct Drawn {
        QStringList items;
        int columns = -1;
        std::vector<QPointer<QRadioButton>> buttons;
    };
    auto drawn = std::make_shared<Drawn>();
    auto sync = [box, grid, drawn, &control] {
        const QString title =
            control.text().isEmpty() ? control.property(QStringLiteral("caption")).toString() : control.text();
        if (box->title() != title)
            box->setTitle(title);
        const QVariant columnsHint = control.property(QStringLiteral("columns"));
        const int columns = columnsHint.isValid() ? columnsHint.toInt() : int(control.items().size());
        if (drawn->items != control.items() || drawn->columns != columns) {
            for (const QPointer<QRadioButton> &old : drawn->buttons) {
                if (old) {
                    grid->removeWidget(old);
                    old->hide();
                    old->setObjectName(QString());
                    old->deleteLater();
                }
            }
            drawn->buttons.clear();
            drawn->items = control.items();
            drawn->columns = columns;
            const int perRow = std::max(columns, 1);
            for (int i = 0; i < drawn->items.size(); ++i) {
                auto *item = new QRadioButton(drawn->items.at(i), box);
                item->setObjectName(control.name() + QStringLiteral("Item") + QString::number(i));
                grid->addWidget(item, i / perRow, i % perRow);
                drawn->buttons.emplace_back(item);
                QObject::connect(item, &QRadioButton::clicked, &control, [item, i, &control] {
                    if (control.currentIndex() != i)
                        control.operatorSelect(i);
                    setRadioChecked(item, control.currentIndex() == i);
                });
            }
        }
        for (size_t i = 0; i < drawn->buttons.size(); ++i) {
            if (drawn->buttons[i])
                setRadioChecked(drawn->buttons[i], int(i) == control.currentIndex());
        }
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, box, sync);
    return box;
}

QGroupBox *group(LogicalControl &control, QWidget *parent)
{
    auto *box = new QGroupBox(control.text(), parent);
    bindCommon(box, control);
    QObject::connect(&control, &LogicalControl::changed, box, [box, &control] {
        if (box->title() != control.text())
            box->setTitle(control.text());
    });
    return box;
}

QWidget *create(LogicalControl &control, QWidget *parent)
{
    const QString kind = kindOf(control);
    if (kind == QLatin1String("button"))
        return button(control, parent);
    if (kind == QLatin1String("check"))
        return check(control, parent);
    if (kind == QLatin1String("radio"))
        return radio(control, parent);
    if (kind == QLatin1String("edit"))
        return edit(control, parent);
    if (kind == QLatin1String("combo"))
        return combo(control, parent);
    if (kind == QLatin1String("lookup"))
        return lookup(control, parent);
    if (kind == QLatin1String("list"))
        return list(control, parent);
    if (kind == QLatin1String("status"))
        return status(control, parent);
    if (kind == QLatin1String("radiogroup"))
        return radioGroup(control, parent);
    if (kind == QLatin1String("group"))
        return group(control, parent);
    return label(control, parent);
}

} // namespace kestra::ControlBinder
