# tests of the app area
