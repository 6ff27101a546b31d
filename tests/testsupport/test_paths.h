#pragma once

#include <QString>

namespace CorvelTest {

// Folder of the built executables (corvel, corvel-service-sim, ...).
QString binDir();
// Root of the source tree (scripts, tools).
QString sourceDir();

} // namespace CorvelTest
