{
  # Nothing is built by node-gyp: the package brings its binaries, and rebuilds them with CMake. That
  # there is such a file tells @electron/rebuild that the package is native.
  "targets": [{ "target_name": "lumolivepush_electron_sdk", "type": "none" }],
}
