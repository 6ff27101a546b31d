#pragma once

#include <QList>
#include <QStringList>
#include <QWidget>

class QPushButton;
class QVBoxLayout;

namespace CorvelWidgets {

class IconFont;
class StyledCombobox;

// The virtual machine's network adapters: one row per adapter, each a choice among the host's
// Hyper-V networks.
class CvNetworksSelector : public QWidget {
    Q_OBJECT
public:
    explicit CvNetworksSelector(const IconFont& iconFont, QWidget* parent = nullptr);

    // The host's networks, once known: adapters can be added from then on.
    void setNetworks(const QStringList& networks);
    QStringList selectedNetworks() const;

signals:
    void onNetworkSelectionChanged(const QStringList& networks);

private:
    void addRow();
    void removeRow(QWidget* row, StyledCombobox* combo);
    void emitSelection();

    const IconFont& m_iconFont;
    QStringList m_networks;
    QList<StyledCombobox*> m_rows;
    QVBoxLayout* m_rowsLayout;
    QPushButton* m_add;
};

} // namespace CorvelWidgets
