# tests of the ui area
