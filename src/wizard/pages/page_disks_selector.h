#pragma once

#include "CorvelService.h"
#include "wizard/pages/page_context.h"
#include "wizard/recovery_wizard_page.h"

#include <QFutureWatcher>
#include <QList>
#include <QString>

#include <map>
#include <optional>
#include <string>
#include <vector>

class QCheckBox;
class QPushButton;
class QVBoxLayout;

namespace CorvelWidgets {
class LoaderWidget;
}

namespace Corvel {

struct RecoveryWizardValues;

// Which of the restore point's disks to export or virtualize, from the service's metadata.
class PageDisksSelector : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageDisksSelector(RecoveryWizardValues* values, const PageContext& context, const CorvelWidgets::IconFont& iconFont,
                      QWidget* parent = nullptr);

    void onPageShown() override;

    const QList<QCheckBox*>& diskBoxes() const { return m_boxes; }
    QCheckBox* dynamicBox() const { return m_dynamic; }
    QWidget* exportTypeRow() const { return m_exportRow; }
    QPushButton* nextButton() const { return m_next; }

    using Metadata = std::optional<std::vector<CorvelService::DiskInfo>>;
    static Metadata retrieveMetadata(const CorvelService::ServiceConnection::Factory& factory, const std::string& host,
                                     const std::string& token, const std::string& snapshot, int retries);

private:
    void onMetadataFinished();
    void buildList();
    void updateNext();
    void writeValues();

    RecoveryWizardValues* m_values;
    CorvelService::ServiceConnection::Factory m_serviceFactory;
    int m_retries;
    QStringList m_loadedPoint;
    QStringList m_pendingPoint;
    std::map<std::string, CorvelService::DiskInfo> m_disks;
    bool m_dynamicAllowed = false;
    QFutureWatcher<Metadata> m_watcher;

    QWidget* m_diskList;
    QVBoxLayout* m_diskLayout;
    QList<QCheckBox*> m_boxes;
    QWidget* m_exportRow;
    QCheckBox* m_dynamic;
    CorvelWidgets::LoaderWidget* m_loader;
    QPushButton* m_next;
};

} // namespace Corvel
