# Jobs and the main run loop against raw threads, an eventfd queue and GLib's main context
# (PkgConfig::YK_GLIB comes from text.cmake).
yk_add_benchmark(jobs_bench JobsBench.cpp)
target_link_libraries(jobs_bench PRIVATE PkgConfig::YK_GLIB)
