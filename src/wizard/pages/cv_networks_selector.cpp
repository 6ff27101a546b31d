#include "wizard/pages/cv_networks_selector.h"

#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "widgets/styled_combobox.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace CorvelWidgets {

CvNetworksSelector::CvNetworksSelector(const IconFont& iconFont, QWidget* parent)
    : QWidget(parent)
    , m_iconFont(iconFont)
    , m_rowsLayout(new QVBoxLayout)
    , m_add(new QPushButton("+ Add Network Adapter"))
{
    m_add->setObjectName("button_secondary");
    m_add->setAccessibleName("Add Network Adapter");
    m_add->setEnabled(false);
    m_rowsLayout->setContentsMargins(0, 0, 0, 0);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(m_rowsLayout);
    layout->addWidget(m_add, 0, Qt::AlignLeft);
    connect(m_add, &QPushButton::clicked, this, &CvNetworksSelector::addRow);
}

void CvNetworksSelector::setNetworks(const QStringList& networks)
{
    m_networks = networks;
    m_add->setEnabled(!m_networks.isEmpty());
}

QStringList CvNetworksSelector::selectedNetworks() const
{
    QStringList selected;
    for (const StyledCombobox* combo : m_rows)
        if (!combo->currentText().isEmpty())
            selected.append(combo->currentText());
    return selected;
}

void CvNetworksSelector::addRow()
{
    auto* row = new QWidget;
    auto* rowLayout = new QHBoxLayout(row);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    auto* combo = new StyledCombobox(nullptr, false);
    combo->setAccessibleName("Network adapter " + QString::number(m_rows.size() + 1));
    combo->addItems(m_networks);
    auto* remove = new QPushButton;
    remove->setObjectName("button_secondary");
    remove->setIcon(m_iconFont.icon(CorvelWidgets::Glyph::Close));
    remove->setToolTip("Remove this network adapter");
    remove->setAccessibleName("Remove network adapter");
    rowLayout->addWidget(combo, 1);
    rowLayout->addWidget(remove);
    m_rowsLayout->addWidget(row);
    m_rows.append(combo);
    // Tab reaches the new row before "Add" (and so before the page's buttons).
    QWidget::setTabOrder(m_add->previousInFocusChain(), combo);
    QWidget::setTabOrder(combo, remove);
    QWidget::setTabOrder(remove, m_add);
    connect(combo, &QComboBox::currentTextChanged, this, &CvNetworksSelector::emitSelection);
    connect(remove, &QPushButton::clicked, this, [this, row, combo] { removeRow(row, combo); });
    emitSelection();
}

void CvNetworksSelector::removeRow(QWidget* row, StyledCombobox* combo)
{
    m_rows.removeOne(combo);
    row->deleteLater();
    emitSelection();
}

void CvNetworksSelector::emitSelection()
{
    emit onNetworkSelectionChanged(selectedNetworks());
}

} // namespace CorvelWidgets
