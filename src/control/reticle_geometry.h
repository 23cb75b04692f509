// Where the reticle is at a zoom scale, and on which point the thermal core centres.
#pragma once

struct point {
    double x;
    double y;
};

// All but the thermal-core point in display pixels.
struct reticle_geometry {
    point reticle; // top-left corner of the scaled image
    point fine;    // correction that is part of the two positions
    point red_dot;
    point tcore; // in thermal-core pixels, whole numbers; doesn't depend on the scale
};

// The geometry for a scale (0: picture-in-picture off; only the thermal-core point is of use then),
// the origin (the image's corner at scale 1) and the image's aim point.
[[nodiscard]] reticle_geometry ac_calc_origin(int scale, point origin, point center);

// Width and height, in display pixels, of the image that the settings select.
[[nodiscard]] point ac_calc_image_coords(int scale);

// Origin and image's aim point as the settings have them, at that scale.
[[nodiscard]] reticle_geometry ac_calc_stored_origin(int scale);
