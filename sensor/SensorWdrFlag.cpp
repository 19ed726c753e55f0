#include "SensorWdrFlag.h"

std::atomic<bool> g_bShowWDRFalg{true};

void setshowWDRFalg(bool p_bShow) {
    g_bShowWDRFalg = p_bShow;
}

bool getshowWDRFalg() {
    return g_bShowWDRFalg;
}
