#pragma once

#include <memory>
#include <utility>

namespace korvane {

/**
 * A member of an object that gives callbacks away and may be destroyed before they are called.
 * Callbacks are called on the thread on which the object is destroyed.
 */
class Lifetime {
public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;
    ~Lifetime() = default;

    /** The callback, which does nothing from the end of this lifetime on. */
    template <typename Callback>
    auto guard(Callback callback) const
    {
        return [lifetime = std::weak_ptr<const char>(token_),
                callback = std::move(callback)](const auto&... arguments) {
            if (!lifetime.expired()) callback(arguments...);
        };
    }

private:
    std::shared_ptr<const char> token_ = std::make_shared<const char>();
};

} // namespace korvane
