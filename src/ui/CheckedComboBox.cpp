#include "ui/CheckedComboBox.h"

#include "support/LogicalControl.h"
#include "support/OzkcxCheckedCombo.h"
#include "ui/ControlBinder.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace kestra {

CheckedComboBox::CheckedComboBox(OzkcxCheckedCombo &logic, LogicalControl &control, QWidget *parent)
    : QWidget(parent), m_logic(&logic)
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    m_text = new QPushButton(this);
    m_text->setObjectName(control.name() + QStringLiteral("Text"));
    m_text->setStyleSheet(QStringLiteral("text-align: left; padding: 2px 6px;"));
    m_all = new QToolButton(this);
    m_all->setObjectName(control.name() + QStringLiteral("All"));
    m_all->setText(QStringLiteral("All"));
    m_all->setToolTip(QStringLiteral("Select All"));
    m_none = new QToolButton(this);
    m_none->setObjectName(control.name() + QStringLiteral("None"));
    m_none->setText(QStringLiteral("None"));
    m_none->setToolTip(QStringLiteral("Select None"));
    row->addWidget(m_text, 1);
    row->addWidget(m_all);
    row->addWidget(m_none);

    m_popup = new QWidget(this, Qt::Popup);
    auto *popupLayout = new QVBoxLayout(m_popup);
    popupLayout->setContentsMargins(0, 0, 0, 0);
    m_list = new QListWidget(m_popup);
    m_list->setObjectName(control.name() + QStringLiteral("Items"));
    popupLayout->addWidget(m_list);

    ControlBinder::bindCommon(this, control);
    connect(m_text, &QPushButton::clicked, this, &CheckedComboBox::showItems);
    connect(m_all, &QToolButton::clicked, this, [this] {
        if (m_logic)
            m_logic->SelectAll();
    });
    connect(m_none, &QToolButton::clicked, this, [this] {
        if (m_logic)
            m_logic->SelectNone();
    });
    // The item's mark is the logic's to set: a click is forwarded, never
    // toggled here.
    connect(m_list, &QListWidget::itemPressed, this, [this](QListWidgetItem *item) {
        if (!m_logic)
            return;
        const Qt::KeyboardModifiers keys = QApplication::keyboardModifiers();
        m_logic->itemClicked(m_list->row(item), keys.testFlag(Qt::ControlModifier), keys.testFlag(Qt::ShiftModifier));
    });
    connect(&logic, &OzkcxCheckedCombo::changed, this, &CheckedComboBox::redraw);
    redraw();
}

void CheckedComboBox::showItems()
{
    redraw();
    m_popup->resize(std::max(width(), 200), std::min(200, 24 + 20 * m_list->count()));
    m_popup->move(mapToGlobal(QPoint(0, height())));
    m_popup->show();
}

void CheckedComboBox::redraw()
{
    if (!m_logic)
        return;
    m_text->setText(m_logic->text());
    m_none->setVisible(m_logic->allowNone());
    const QStringList items = m_logic->descriptions();
    if (m_list->count() != items.size()) {
        m_list->clear();
        for (const QString &text : items) {
            auto *item = new QListWidgetItem(text, m_list);
            item->setFlags(Qt::ItemIsEnabled);
        }
    }
    for (int i = 0; i < items.size(); ++i) {
        QListWidgetItem *item = m_list->item(i);
        item->setText(items[i]);
        item->setCheckState(m_logic->IsChecked(i) ? Qt::Checked : Qt::Unchecked);
    }
}

} // namespace kestra
