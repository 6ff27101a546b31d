#pragma once

#include <QWidget>

#include <functional>

namespace CorvelTest {

// Runs `handle` on the next modal dialog shown within about two seconds (a real QDialog, not a
// message box: those go through MessageBox's answers). Pending waits of a finished test function
// are dropped by calling forgetModalWaits() in cleanup().
void whenModal(std::function<void(QWidget*)> handle);
void forgetModalWaits();

} // namespace CorvelTest
