#include "service/service_types_meta.h"

namespace CorvelService {

void registerServiceMetaTypes()
{
    qRegisterMetaType<VirtualDiskType::type>("CorvelService::VirtualDiskType::type");
}

} // namespace CorvelService
