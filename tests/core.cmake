# tests of the core area
