#pragma once

/** What the C library keeps of the memory that was freed, to give it out again faster. */
namespace korvane {

/** Keeps threads from having heaps of their own beyond a few, which would each keep some, and large
 *  blocks out of them: freed, these go back at once. Called before any thread starts. */
void limitHeaps();

/** Gives the system what is free. Takes milliseconds. */
void returnFreeMemory();

} // namespace korvane
