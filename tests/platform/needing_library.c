// Two libraries of which one needs the other.
#if defined(Q7_NEEDED)
__declspec(dllexport) int needed(void) {
    return 7;
}
#else
__declspec(dllimport) int needed(void);
__declspec(dllexport) int needing(void) {
    return needed();
}
#endif
