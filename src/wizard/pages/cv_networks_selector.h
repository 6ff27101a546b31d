#pragma once

#include "service/service_connection.h"

#include <QFutureWatcher>
#include <QList>
#include <QStringList>
#include <QWidget>

#include <optional>
#include <vector>

class QPushButton;
class QVBoxLayout;

namespace CorvelWidgets {

class IconFont;
class StyledCombobox;

// The virtual machine's network adapters: one row per adapter, each a choice among the host's
// Hyper-V networks (asked of the service on a pool thread).
class CvNetworksSelector : public QWidget {
    Q_OBJECT
public:
    CvNetworksSelector(CorvelService::ServiceConnection::Factory factory, const IconFont& iconFont,
                       QWidget* parent = nullptr);

    QStringList selectedNetworks() const;
    QPushButton* addButton() const { return m_add; }
    const QList<StyledCombobox*>& rows() const { return m_rows; }
    QStringList availableNetworks() const { return m_networks; }

    using Networks = std::optional<std::vector<CorvelService::VirtualNetwork>>;
    static Networks retrieveNetworks(const CorvelService::ServiceConnection::Factory& factory);

signals:
    void onNetworkSelectionChanged(const QStringList& networks);
    void networksLoaded();

private:
    void addRow();
    void removeRow(QWidget* row, StyledCombobox* combo);
    void emitSelection();

    const IconFont& m_iconFont;
    QFutureWatcher<Networks> m_watcher;
    QStringList m_networks;
    QList<StyledCombobox*> m_rows;
    QVBoxLayout* m_rowsLayout;
    QPushButton* m_add;
};

} // namespace CorvelWidgets
