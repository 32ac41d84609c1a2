// The film of "View/Film...": the files of a folder shown one after the other.
#pragma once
#include <string>
#include <vector>

// The regular files of folder (hidden ones left out), sorted by name, as full
// paths. Empty when the folder can't be read.
std::vector<std::string> film_list(const std::string& folder);

// Index after stepping step frames from index in a film of n frames, wrapping
// round at both ends; -1 for an empty film.
int film_step(int index, int step, int n);

// Index of file in the film, or -1.
int film_index(const std::vector<std::string>& film, const std::string& file);
