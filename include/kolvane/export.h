// Marks what the library exports. Everything else is hidden, so that a shared build exposes
// the API alone and a host's own symbols never collide with the library's internals.
#pragma once

#define KOLVANE_EXPORT __attribute__((visibility("default")))
