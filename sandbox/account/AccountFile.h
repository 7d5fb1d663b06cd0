#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/account/Scene.h"

namespace tovri::sandbox {

// Fills the scene from the JSON text of an account file, or says what is wrong with it. All keys are optional:
//
//   {
//     "token": "secret", "username": "ann", "disk": "1TiB", "seed": 7,
//     "files": {
//       "Films": {"Nosferatu.mkv": "700MiB", "Empty folder": {}},
//       "notes.txt": ["text", "What the file says."],
//       "clip.bin": ["5MiB", {"type": "video/mp4", "crc32": "0badc0de"}]
//     },
//     "transfers": [{"url": "magnet:?dn=Film", "folder": "/Films", "size": "1GiB", "status": "SEEDING"}],
//     "feeds": [{"title": "News", "url": "https://example.com/rss", "folder": "/Films", "keyword": "", "paused":
//     true}], "faults": [{"on": "storage", "match": "*.mkv", "cut": "1MiB", "times": 1}, "api:*:status=503,times=2"]
//   }
//
// A file is a size, or an array that begins with a size or "text"; a folder is an object. Names are taken as they are,
// hostile ones too, and may occur twice in a folder. IDs count from 1 in the order of the text.
std::expected<void, std::string> readAccountFile(std::string_view json, const Scene& scene);

// Reads an array of faults as it stands in an account file.
std::expected<std::vector<Fault>, std::string> readFaultsJson(std::string_view json);

}  // namespace tovri::sandbox
