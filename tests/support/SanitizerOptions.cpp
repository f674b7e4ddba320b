// Built into the test programs only when the sanitizers are on. Leak checking stays off: the Mesa
// and X client libraries that Qt loads for GL keep allocations until exit and are unloaded
// before the leak report, which then cannot even name them. Memory errors and undefined
// behaviour are still fatal.
extern "C" const char *__asan_default_options()
{
    return "detect_leaks=0";
}
