#pragma once

#include "corvel_service_types.h"

#include <QMetaType>

Q_DECLARE_METATYPE(CorvelService::VirtualDiskType::type)

namespace CorvelService {
// Registers the service enumerations that widgets keep in QVariant.
void registerServiceMetaTypes();
} // namespace CorvelService
