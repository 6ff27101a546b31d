#include "notify/banner_notifier.h"

#include "notify/notify_texts.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>
#include <QVariant>

namespace CorvelNotify {

BannerNotifier::BannerNotifier(QObject* parent)
    : Notifier(parent)
    , m_banner(new QFrame)
    , m_title(new QLabel)
    , m_text(new QLabel)
    , m_showJob(new QPushButton(Texts::ShowJob))
{
    m_banner->setObjectName("notification_banner");
    m_banner->setAccessibleName(QStringLiteral("Notification"));
    m_title->setObjectName("notification_banner_title");
    m_text->setObjectName("notification_banner_text");
    for (QLabel* label : {m_title, m_text}) {
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
    }
    auto* dismiss = new QPushButton(Texts::Dismiss);
    m_showJob->setObjectName("notification_banner_show");
    dismiss->setObjectName("notification_banner_dismiss");
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(m_title);
    texts->addWidget(m_text);
    auto* layout = new QHBoxLayout(m_banner);
    layout->addLayout(texts, 1);
    layout->addWidget(m_showJob);
    layout->addWidget(dismiss);
    m_banner->hide();
    connect(dismiss, &QPushButton::clicked, m_banner, &QWidget::hide);
    connect(m_showJob, &QPushButton::clicked, this, [this] {
        m_banner->hide();
        emit activated(m_jobId);
    });
}

BannerNotifier::~BannerNotifier()
{
    if (m_banner && !m_banner->parent())
        delete m_banner;
}

QWidget* BannerNotifier::widget() const
{
    return m_banner;
}

void BannerNotifier::show(const Notification& notification)
{
    if (!m_banner)
        return;
    m_jobId = notification.jobId;
    m_title->setText(notification.title);
    m_text->setText(notification.text);
    m_showJob->setVisible(!m_jobId.isEmpty());
    m_banner->setProperty("alert", notification.isAlert());
    m_banner->style()->unpolish(m_banner);
    m_banner->style()->polish(m_banner);
    m_banner->show();
}

} // namespace CorvelNotify
