// Node 18 has the class File but not yet as a global, which one of the packages expects.
globalThis.File ??= require("node:buffer").File;
