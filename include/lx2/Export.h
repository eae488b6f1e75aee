#pragma once

// Everything is built with hidden visibility; only what carries this mark leaves its shared
// library.
#define LX2_API __attribute__((visibility("default")))

// For a private class nested in one that carries it.
#define LX2_LOCAL __attribute__((visibility("hidden")))
