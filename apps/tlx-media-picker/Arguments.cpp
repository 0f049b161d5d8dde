#include "apps/tlx-media-picker/Arguments.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <map>
#include <optional>

namespace tlx::program {

const char kUsage[] =
    R"(usage: tlx-media-picker [options] [FOLDER...]

Pick photos and videos out of folders and clouds, or out of your own pictures and videos when none is named.

  --cloud URL                a WebDAV folder (https://..., or http:// on this machine), with all below it (repeatable)
  --cloud-credentials FILE   lines of URL, USER and PASSWORD, for folders below that URL. Else the variables
                             TLX_CLOUD_USER and TLX_CLOUD_PASSWORD, the desktop's keyring, and in a window the person
                             are asked, in this order, when a cloud wants to know

  --kind all|images|videos   what may be picked (all)
  --max N                    how many items at most (-1: no limit; 0 refuses the first)
  --size WxH                 images are delivered within this many pixels (1600x1600)
  --output DIR               write what was picked there: images upright, names and capture dates kept, never overwriting
  --format json|paths|paths0 what is printed for each delivered item, in picked order (json: one object a line)
  --window WxH               the window's size (1024x720)
  --camera auto|test|none    what the camera button opens; test: pictures that are made up (auto)
  --screenshot FILE          save a picture of the settled window and end; with --pick, before what was picked is delivered

Without a window:
  --headless                 naming folders is the consent to read them
  --list                     print the albums
  --pick ALBUM:I,J-K,...     pick by position, newest first, in the album with that title or identifier (repeatable)
  --on-failure continue|retry|cancel
                             what to answer when items cannot be fetched (cancel)

  --help, --version

Exit status: 0 delivered, 1 cancelled, 2 usage, 3 no access, 4 cancelled because something failed.
)";

namespace {

template <class Number>
std::optional<Number> toNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<Arguments::Pick> toPick(const std::string& text) {
  const auto colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) return std::nullopt;
  Arguments::Pick pick{text.substr(0, colon), {}};
  std::size_t from = colon + 1;
  while (from <= text.size()) {
    const auto comma = std::min(text.find(',', from), text.size());
    const std::string_view part = std::string_view(text).substr(from, comma - from);
    const auto dash = part.find('-');
    const auto first = toNumber<std::uint64_t>(part.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : toNumber<std::uint64_t>(part.substr(dash + 1));
    if (!first || !last || *last < *first) return std::nullopt;
    pick.ranges.emplace_back(*first, *last);
    from = comma + 1;
  }
  return pick;
}

bool toSize(std::string_view text, std::uint32_t& toWidth, std::uint32_t& toHeight) {
  const auto cross = text.find_first_of("xX");
  if (cross == std::string_view::npos) return false;
  const auto width = toNumber<std::uint32_t>(text.substr(0, cross));
  const auto height = toNumber<std::uint32_t>(text.substr(cross + 1));
  if (!width || !height || *width == 0 || *height == 0) return false;
  toWidth = *width;
  toHeight = *height;
  return true;
}

template <class Value>
bool choose(const std::map<std::string, Value>& choices, const std::string& text, Value& value) {
  auto found = choices.find(text);
  if (found == choices.end()) return false;
  value = found->second;
  return true;
}

/// A folder below another one that is named is looked through with that.
void addCloud(std::vector<photolibrary::CloudAddress>& clouds, photolibrary::CloudAddress&& cloud) {
  const auto covers = [](const photolibrary::CloudAddress& a, const photolibrary::CloudAddress& b) {
    return a.text() == b.text() || b.text().starts_with(a.text() + "/");
  };
  if (std::any_of(clouds.begin(), clouds.end(), [&](const auto& each) { return covers(each, cloud); })) return;
  std::erase_if(clouds, [&](const auto& each) { return covers(cloud, each); });
  clouds.push_back(std::move(cloud));
}

}  // namespace

void eraseSecrets(int count, char** words) {
  for (int i = 0; i < count; ++i) {
    char* const scheme = std::strstr(words[i], "://");
    char* const at = scheme ? std::strrchr(scheme, '@') : nullptr;
    char* const colon =
        at ? static_cast<char*>(std::memchr(scheme + 3, ':', static_cast<std::size_t>(at - scheme - 3))) : nullptr;
    if (!colon) continue;
    const std::size_t rest = std::strlen(at), secret = static_cast<std::size_t>(at - colon);
    std::memmove(colon, at, rest);
    std::memset(colon + rest, 0, secret);
  }
}

std::variant<Arguments, std::string> parseArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  std::string problem;  // in better words than that the value is not taken
  const std::map<std::string, bool*> flags = {{"--headless", &arguments.headless},
                                              {"--list", &arguments.list},
                                              {"--help", &arguments.help},
                                              {"--version", &arguments.version}};
  const std::map<std::string, std::function<bool(const std::string&)>> options = {
      {"--kind",
       [&](const std::string& v) {
         return choose<std::int64_t>({{"all", 0}, {"images", 1}, {"videos", 2}}, v, arguments.kind);
       }},
      {"--max",
       [&](const std::string& v) {
         const auto number = toNumber<std::int64_t>(v);
         if (number) arguments.max = *number;
         return number.has_value();
       }},
      {"--size", [&](const std::string& v) { return toSize(v, arguments.width, arguments.height); }},
      {"--window", [&](const std::string& v) { return toSize(v, arguments.windowWidth, arguments.windowHeight); }},
      {"--output", [&](const std::string& v) { return !(arguments.output = v).empty(); }},
      {"--screenshot", [&](const std::string& v) { return !(arguments.screenshot = v).empty(); }},
      {"--format",
       [&](const std::string& v) {
         using Format = Arguments::Format;
         return choose<Format>({{"json", Format::Json}, {"paths", Format::Paths}, {"paths0", Format::Paths0}}, v,
                               arguments.format);
       }},
      {"--camera",
       [&](const std::string& v) {
         using Camera = Arguments::Camera;
         return choose<Camera>({{"auto", Camera::Auto}, {"test", Camera::Test}, {"none", Camera::None}}, v,
                               arguments.camera);
       }},
      {"--on-failure",
       [&](const std::string& v) {
         using OnFailure = Arguments::OnFailure;
         return choose<OnFailure>(
             {{"continue", OnFailure::Continue}, {"retry", OnFailure::Retry}, {"cancel", OnFailure::Cancel}}, v,
             arguments.onFailure);
       }},
      {"--cloud",
       [&](const std::string& v) {
         auto address = photolibrary::parseCloudAddress(v);
         if (const auto* wrong = std::get_if<std::string>(&address)) {
           problem = "--cloud: " + *wrong;
         } else {
           addCloud(arguments.clouds, std::get<0>(std::move(address)));
         }
         return problem.empty();
       }},
      {"--cloud-credentials", [&](const std::string& v) { return !(arguments.cloudCredentials = v).empty(); }},
      {"--pick",
       [&](const std::string& v) {
         auto pick = toPick(v);
         if (pick) arguments.picks.push_back(std::move(*pick));
         return pick.has_value();
       }},
  };
  bool onlyFolders = false, answersAlerts = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (onlyFolders || word.size() < 2 || word[0] != '-') {
      if (word.empty()) return "a folder's name is empty";
      arguments.folders.push_back(word);
      continue;
    }
    if (word == "--") {
      onlyFolders = true;
      continue;
    }
    if (auto flag = flags.find(word); flag != flags.end()) {
      *flag->second = true;
      continue;
    }
    const auto equals = word.find('=');
    const std::string name = word.substr(0, equals);
    auto option = options.find(name);
    if (flags.contains(name)) return name + " takes no value";
    if (option == options.end()) return "unknown option " + name;
    if (equals == std::string::npos && i + 1 == words.size()) return name + " needs a value";
    const std::string value = equals == std::string::npos ? words[++i] : word.substr(equals + 1);
    answersAlerts = answersAlerts || name == "--on-failure";
    if (!option->second(value)) return !problem.empty() ? problem : name + " does not take \"" + value + "\"";
  }
  if (arguments.help || arguments.version) return arguments;
  if (arguments.list && !arguments.picks.empty()) return "--list and --pick exclude each other";
  if (!arguments.headless && (arguments.list || !arguments.picks.empty())) return "--list and --pick need --headless";
  if (arguments.headless && !arguments.list && arguments.picks.empty()) return "--headless needs --list or --pick";
  if (!arguments.headless && answersAlerts) return "--on-failure needs --headless";
  if (arguments.list && !arguments.screenshot.empty()) return "--screenshot needs a window or --pick";
  return arguments;
}

}  // namespace tlx::program
