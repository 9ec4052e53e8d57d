#error "the core must not include headers of a platform library"
