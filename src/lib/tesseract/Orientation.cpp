#include "lib/tesseract/Orientation.h"

#include <cmath>

namespace korvane {

namespace {

/** Tesseract's confidences above these can be relied on. */
constexpr float minOrientationConfidence = 1;
constexpr float minScriptConfidence = 0.5;

} // namespace

Orientation detectOrientation(EngineCache& engines, const OwnedPix& gray, double resolution)
{
    Orientation found;
    RecognitionEngine* const detector = engines.engine(RecognitionEngine::orientation);
    if (!detector) return found;
    tesseract::TessBaseAPI& api = detector->api();
    api.SetPageSegMode(tesseract::PSM_OSD_ONLY);
    api.SetImage(gray.get());
    api.SetSourceResolution(static_cast<int>(std::lround(resolution)));
    int degrees = 0;
    float confidence = 0;
    const char* script = nullptr;
    float scriptConfidence = 0;
    if (api.DetectOrientationScript(&degrees, &confidence, &script, &scriptConfidence)) {
        if (confidence >= minOrientationConfidence) found.quarterTurns = (4 - degrees / 90 % 4) % 4;
        if (script && scriptConfidence >= minScriptConfidence) found.script = script;
    }
    api.Clear();
    return found;
}

} // namespace korvane
