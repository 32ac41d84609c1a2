// Binding a loaded picture to its orbit: the elements to use (the recording's
// header or the element file), the orbit constants and the pixel positions.
#pragma once
#include "formats/picinfo.h"

// Opens the element file `name`: first in the installation's data directory,
// then as given. Null when neither opens.
FILE* open_element_file(const char* name);

// Binds pic to its orbit: when its time is valid and elements for its
// satellite exist, picks them (the element file's set of the header's epoch
// or a newer one, in double precision, else the header's; without header
// elements the file's set nearest the picture time), prepares the model,
// fills the scan geometry of pic->orbit and computes the positions of every
// line (overlay tables are rebuilt on next need). tle_file: the element file,
// null for the preference's. Says which elements are in use in
// orbit.elements and orbit.elements_text. positions false leaves the pixel
// positions to be computed later (for callers that only want to know the
// elements, such as the file information). Returns 1 when bound, 0 when the
// picture has no valid time or no elements (orbit.valid 0).
int bind_picture_orbit(PICINFO* pic, const char* tle_file = nullptr, bool positions = true);
