#pragma once

// Border styles shared by the Vantro edit widgets.
//   0: the platform's own frame
//   1: a thin, flat one-pixel border in the palette's mid colour with slightly rounded corners
//   2: no frame at all
// Any other value is treated as 0.
enum VantroBorderStyle : int {
    kVantroBorderStyleDefault = 0,
    kVantroBorderStyleThin = 1,
    kVantroBorderStyleNone = 2,
};
