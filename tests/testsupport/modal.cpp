#include "testsupport/modal.h"

#include <QApplication>
#include <QTimer>

namespace CorvelTest {

namespace {

int g_generation = 0;

void poll(std::function<void(QWidget*)> handle, int attemptsLeft, int generation)
{
    QTimer::singleShot(5, [handle, attemptsLeft, generation] {
        if (generation != g_generation)
            return;
        if (QWidget* modal = QApplication::activeModalWidget())
            handle(modal);
        else if (attemptsLeft > 0)
            poll(handle, attemptsLeft - 1, generation);
    });
}

} // namespace

void whenModal(std::function<void(QWidget*)> handle)
{
    poll(std::move(handle), 400, g_generation);
}

void forgetModalWaits()
{
    ++g_generation;
}

} // namespace CorvelTest
