#pragma once

#include <leptonica/allheaders.h>

#include <memory>

namespace korvane {

struct DestroyPix {
    void operator()(Pix* pix) const { pixDestroy(&pix); }
};

/** A bitmap of Leptonica. */
using OwnedPix = std::unique_ptr<Pix, DestroyPix>;

/** Another owner of the same bitmap, which is not copied. */
inline OwnedPix share(const OwnedPix& pix)
{
    return OwnedPix(pixClone(pix.get()));
}

} // namespace korvane
