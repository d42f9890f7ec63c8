// The translation unit that the shared precompiled header is compiled for.
