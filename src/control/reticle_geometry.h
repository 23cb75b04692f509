// Calculates where the reticle is drawn at a given scale, and around which point the thermal core
// magnifies.
#pragma once

struct point {
    double x;
    double y;
};

// Positions in display pixels, except for `tcore`.
struct reticle_geometry {
    point reticle; // top-left corner of the scaled image
    point fine;    // correction, already added to `reticle` and `red_dot`
    point red_dot; // the aim point
    point tcore;   // the aim point in thermal-core pixels, whole numbers; the same at any scale
};

// Calculates the geometry. `scale` is the factor of zoom or inset; `origin` is the image's top-left
// corner at scale 1; `center` is the aim point, relative to that corner. With scale 0, which means
// no inset, only `tcore` is valid.
[[nodiscard]] reticle_geometry ac_calc_origin(int scale, point origin, point center);

// Returns width and height, in display pixels, of the selected reticle image at that scale.
[[nodiscard]] point ac_calc_image_coords(int scale);

// Like ac_calc_origin, with the origin and the reticle image that the settings select.
[[nodiscard]] reticle_geometry ac_calc_stored_origin(int scale);
