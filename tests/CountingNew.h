#pragma once

/// The test program's operator new, which counts and can be told to fail.
namespace counting_new {

unsigned long count();

/// Lets the n-th allocation of this thread from now on fail (1: the next one), and all later ones
/// if so wanted; 0 ends it.
void failNth(unsigned long n, bool fromThenOn = false);

} // namespace counting_new
