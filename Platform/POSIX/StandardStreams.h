// The three descriptors that every program has, also one that was started with fewer.
#pragma once

namespace velto {

/// Opens nothing in the place of standard input, output and error where they are closed: else what is opened
/// next would get their numbers, and be told what is meant for people. To be called first of all.
void openStandardStreams() noexcept;

} // namespace velto
