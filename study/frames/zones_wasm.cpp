#include "frames/zone_list.h"

namespace sarvane::study {

extern const ZoneList AllZones = {nullptr, 0, nullptr};

}  // namespace sarvane::study
