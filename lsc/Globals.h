// The library's switches, exported under these names.
#pragma once

// Visible to the version script (lsc/exports.map), which decides what the library exports.
#define LSC_EXPORT __attribute__((visibility("default")))

// The constructor of VeyraShadingUtil sets them once from system properties; before it runs, gLogLevel and g_oisDebug
// are 1 and the dump switches 0. Plain integers, because hosts declare them so: they are read without a lock, and
// whoever obtained the object from createInstance sees the values that the constructor stored.
extern LSC_EXPORT int gLogLevel;     // "vendor.veyra.3a.lscutil.log": 0 few messages, non-zero more, 4 and above all
extern LSC_EXPORT int g_oisDebug;    // "vendor.debug.ois.hall.calculation": 1 mean, 2 maximum, 3 middle, 4 last entry
extern LSC_EXPORT int g_preOisDump;  // "vendor.debug.preview.lsc.ois.dump": non-zero writes preview dumps
extern LSC_EXPORT int g_capOisDump;  // "vendor.debug.capture.lsc.ois.dump": non-zero writes capture dumps
