# What `cmake --install` leaves: find_package(Loam) with Loam::loam and Loam::marl, and the pkg-config files.
