// Sees of the library what any compiler can: a plain function and a constant, by their names.
extern "C" {
__declspec(dllimport) int vloxprint_v2(int level, const char* file, const char* function, int line,
                                       const char* format, ...);
__declspec(dllimport) extern const char* const CA_CERT_PATH;

int start() {
    if (CA_CERT_PATH[0] != 'c') {
        return 1;
    }
    return vloxprint_v2(2, __FILE__, "start", __LINE__, "no logger: %d", 1);
}
}
