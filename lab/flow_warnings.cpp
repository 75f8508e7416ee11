#include "lab/look.h"
namespace marl::lab {
std::span<const Warning> flow_warnings() { return {}; }
}
