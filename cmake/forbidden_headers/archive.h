#error "a header of a desktop reaches the core"
