#include "testsupport/test_paths.h"

#include <QtGlobal>

namespace CorvelTest {

QString binDir()
{
    return qEnvironmentVariable("CORVEL_BIN_DIR");
}

QString sourceDir()
{
    return qEnvironmentVariable("CORVEL_SOURCE_DIR");
}

} // namespace CorvelTest
