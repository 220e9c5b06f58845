#pragma once

#include "platform/base/Result.h"
#include "platform/documents/Recognition.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace korvane {

/**
 * Reads text from pictures with Tesseract's neural network, on the calling thread. Engines are kept
 * for the languages used last. Where it cannot go on it says why in a text for the log.
 */
class TextRecognizer {
public:
    template <typename T>
    using Answer = Result<T, std::string>;

    /** A picture in shades of grey, rows from the top without gaps. */
    struct Picture {
        int width = 0;
        int height = 0;
        /** Pixels an inch. */
        double resolution = 0;
    };

    TextRecognizer();
    ~TextRecognizer();
    TextRecognizer(const TextRecognizer&) = delete;
    TextRecognizer& operator=(const TextRecognizer&) = delete;

    /** The installed languages, without those that only find orientation or formulas. */
    std::vector<std::string> languages();

    /** Makes the engine for a language ahead of its use. */
    void prepare(const std::string& language);

    /** Works on this picture from now on; `fill` writes row after row of it, or says that it
     *  cannot. */
    bool load(const Picture& picture,
              const std::function<bool(int row, std::span<std::uint8_t>)>& fill);

    /** Lets the picture go. */
    void clear();

    /** Turns the picture clockwise; false when there is no memory for it, or no picture. */
    bool turn(int quarterTurns);

    Picture picture() const;

    /** A row of the picture as `turn` left it. */
    void copyRow(int row, std::span<std::uint8_t> pixels) const;

    /** The lines of text in the picture, in reading order. */
    Answer<std::vector<PixelBox>> findLines();

    /** What each of the lines reads. */
    Answer<std::vector<RecognizedLine>> recognize(std::span<const PixelBox> lines,
                                                  const std::string& language);

    Answer<PageOrientation> orientation();

private:
    class Engine;

    Engine* engine(const std::string& language);
    void forgetEngine();

    class Pixels;
    std::unique_ptr<Pixels> pixels_;
    double resolution_ = 0;
    /** The language whose engine is kept whatever others are used. */
    std::string preparedLanguage_;
    /** The engine used last comes last. */
    std::vector<std::unique_ptr<Engine>> engines_;
};

} // namespace korvane
