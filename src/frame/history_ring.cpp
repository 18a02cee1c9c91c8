#include "frame/history_ring.h"

namespace sarvane {

template class BasicHistoryRing<double>;

}  // namespace sarvane
