# Builds for arm64 with Debian's cross compiler and the libraries of its foreign architecture
# (`dpkg --add-architecture arm64`), while moc and its like are the building machine's own.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64) # CPack would take the building machine's
