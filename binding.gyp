{
  # By this file @electron/rebuild knows that the package is native. Where the package has no add-on
  # for its Electron, it runs node-gyp, which has the headers and leaves the building to CMake.
  "variables": { "runtime%": "node" },
  "targets": [
    {
      "target_name": "lumolivepush_electron_sdk",
      "type": "none",
      "actions": [
        {
          "action_name": "rebuild",
          "inputs": [],
          "outputs": ["always"],
          "action": [
            "node",
            "bin/lumolivepush-electron-sdk.js",
            "rebuild",
            "--runtime=<(runtime)",
            "--headers=<(node_root_dir)/include/node",
          ],
        },
      ],
    },
  ],
}
