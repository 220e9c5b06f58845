#include "ipp/AttributeSection.h"

#include "ipp/IPPTag.h"

#include <algorithm>

namespace korvane::ipp {

namespace {

constexpr std::uint8_t lastDelimiter = 0x0F;

} // namespace

std::size_t AttributeSection::take(std::span<const std::uint8_t> bytes)
{
    std::size_t taken = 0;
    while (taken < bytes.size() && part_ != Part::end) {
        if (part_ == Part::name || part_ == Part::value) {
            const std::size_t count = std::min(remaining_, bytes.size() - taken);
            taken += count;
            position_ += count;
            remaining_ -= count;
            if (remaining_ == 0) finishField();
        } else {
            ++position_;
            handle(bytes[taken++]);
        }
    }
    return taken;
}

void AttributeSection::handle(std::uint8_t byte)
{
    if (part_ == Part::tag) {
        if (byte == rawValue(IPPTag::endOfAttributes) || position_ > maxSectionSize_ + 1) {
            part_ = Part::end;
        } else if (byte > lastDelimiter) {
            beginLength(Part::nameLength);
        }
        return;
    }
    length_ = length_ << 8 | byte;
    if (--remaining_ > 0) return;
    remaining_ = length_;
    part_ = part_ == Part::nameLength ? Part::name : Part::value;
    if (remaining_ == 0) finishField();
}

/** Behind a name comes the length of its value, behind a value the next tag. */
void AttributeSection::finishField()
{
    if (part_ == Part::name) {
        beginLength(Part::valueLength);
    } else {
        part_ = Part::tag;
    }
}

void AttributeSection::beginLength(Part part)
{
    part_ = part;
    remaining_ = 2;
    length_ = 0;
}

} // namespace korvane::ipp
