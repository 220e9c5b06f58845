#pragma once

namespace korvane {

/** Something that goes on for as long as its owner keeps this. Destroying it, on the queue that it
 *  belongs to, cancels it: no handler of it is called afterwards. */
class Subscription {
public:
    virtual ~Subscription() = default;
};

} // namespace korvane
