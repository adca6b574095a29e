// Nothing: the target it belongs to is there for its precompiled headers.
