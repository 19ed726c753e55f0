// A layer as a vendor ships it: a shared library that calls its own ia_ioctrl by name.
static int g_value = 0;

extern "C" int ia_ioctrl(unsigned int cmd, unsigned int opt, void* data) {
    if (cmd > 1000) {
        const int inner = ia_ioctrl(cmd - 1000, opt, data);
        return inner == 0 ? 0 : -100; // not ours: the process's would be another layer's
    }
    int& value = *static_cast<int*>(data);
    (opt == 0 ? g_value : value) = opt == 0 ? value : g_value;
    return cmd == 34 ? 0 : -5;
}
