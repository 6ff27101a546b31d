#include "updater/download_progress.h"

namespace CVUpdater {

DownloadProgress::~DownloadProgress() = default;

} // namespace CVUpdater
