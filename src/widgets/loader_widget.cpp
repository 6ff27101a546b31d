#include "widgets/loader_widget.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMovie>

namespace CorvelWidgets {

LoaderWidget::LoaderWidget(QWidget* parent)
    : QWidget(parent)
    , m_movie(new QMovie(":/res/loader.gif", QByteArray(), this))
    , m_animation(new QLabel)
    , m_description(new QLabel)
{
    setObjectName("loader_widget");
    m_description->setObjectName("loader_description");
    m_animation->setMovie(m_movie);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_animation);
    layout->addWidget(m_description);
    // Keeps its room when hidden, so the buttons beside it do not jump.
    QSizePolicy policy = sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    hide();
}

QString LoaderWidget::description() const
{
    return m_description->text();
}

bool LoaderWidget::isRunning() const
{
    return m_movie->state() == QMovie::Running;
}

void LoaderWidget::showLoader(const QString& description)
{
    m_description->setText(description);
    setAccessibleName(description);
    m_movie->start();
    show();
}

void LoaderWidget::hideLoader()
{
    m_movie->stop();
    hide();
}

} // namespace CorvelWidgets
