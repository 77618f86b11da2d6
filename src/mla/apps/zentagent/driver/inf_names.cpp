#include "driver/inf_names.h"

const wchar_t* const kInfNames[kInfNameCount] = {
    L"netmlfilter.inf", L"netmlfilterm.inf", L"netmlfilterp.inf", L"netnrxim.inf", L"netnrxip.inf",
};
