// Where the reticle is at a given zoom, and on which point the thermal core centres.
#pragma once

struct point {
    double x;
    double y;
};

// Display pixels, except for the thermal-core point.
struct reticle_geometry {
    point reticle; // top-left corner of the scaled image
    point fine;    // correction contained in both positions
    point red_dot;
    point tcore; // thermal-core pixels, whole numbers; independent of the scale
};

// Calculates the geometry for a scale, the origin (the image's corner at scale 1) and the image's
// aim point. At scale 0 (picture-in-picture off) only the thermal-core point is valid.
[[nodiscard]] reticle_geometry ac_calc_origin(int scale, point origin, point center);

// Returns width and height, in display pixels, of the selected image.
[[nodiscard]] point ac_calc_image_coords(int scale);

// As ac_calc_origin, with origin and aim point from the settings.
[[nodiscard]] reticle_geometry ac_calc_stored_origin(int scale);
