// A display-metadata library that lacks one of its two functions: it has only LX2_ONLY, which
// always succeeds.
extern "C" __attribute__((visibility("default"))) int LX2_ONLY(void*, int, void*) {
    return 0;
}
