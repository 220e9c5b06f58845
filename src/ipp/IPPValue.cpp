#include "ipp/IPPValue.h"

namespace korvane::ipp {

bool operator==(const Collection& left, const Collection& right)
{
    return left.members == right.members;
}

} // namespace korvane::ipp
