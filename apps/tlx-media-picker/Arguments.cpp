#include "apps/tlx-media-picker/Arguments.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include <glib.h>

#include "apps/tlx-media-picker/Complaint.h"

namespace tlx::program {
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

/// A folder below another one that is named is looked through with that.
void addCloud(std::vector<photolibrary::CloudAddress>& clouds, photolibrary::CloudAddress&& cloud) {
  const auto covers = [](const photolibrary::CloudAddress& a, const photolibrary::CloudAddress& b) {
    return a.text() == b.text() || b.text().starts_with(a.text() + "/");
  };
  if (std::any_of(clouds.begin(), clouds.end(), [&](const auto& each) { return covers(each, cloud); })) return;
  std::erase_if(clouds, [&](const auto& each) { return covers(cloud, each); });
  clouds.push_back(std::move(cloud));
}

/// What the command line may hold, for GLib's parser.
class Options {
 public:
  Options();
  std::variant<Arguments, std::string> parse(std::vector<std::string> words);
  std::string help() const;

 private:
  /// False for a value that it does not take, with the reason in `problem_` where there is more to say.
  using Take = std::function<bool(const std::string& value)>;

  /// Without a `form` it is a switch, which takes no value.
  void add(GOptionGroup& group, const char* name, const char* form, const char* help, Take take);
  std::string contradiction() const;

  Arguments arguments_;
  std::map<std::string, Take> takes_;  ///< by option, with its dashes; nothing for the folders
  std::set<std::string> switches_;
  std::string problem_;
  bool answersAlerts_ = false;
  const std::unique_ptr<GOptionContext, void (*)(GOptionContext*)> context_;
};

Options::Options() : context_(g_option_context_new(nullptr), &g_option_context_free) {
  Arguments& a = arguments_;
  const auto text = [](std::string& to) { return [&to](const std::string& v) { return !(to = v).empty(); }; };
  const auto set = [](bool& to) { return [&to](const std::string&) { return to = true; }; };
  const auto size = [](std::uint32_t& width, std::uint32_t& height) {
    return [&](const std::string& v) { return toSize(v, width, height); };
  };
  const auto oneOf = []<class Value>(Value& to, std::map<std::string, Value> choices) {
    return [&to, choices = std::move(choices)](const std::string& v) {
      const auto found = choices.find(v);
      if (found != choices.end()) to = found->second;
      return found != choices.end();
    };
  };
  using Format = Arguments::Format;
  using Camera = Arguments::Camera;
  using OnFailure = Arguments::OnFailure;

  GOptionGroup& any = *g_option_group_new("", "", "", this, nullptr);
  g_option_context_set_main_group(context_.get(), &any);
  add(any, "cloud", "URL", "A WebDAV folder, https:// or on this machine http://, with all below; repeatable",
      [this](const std::string& v) {
        auto address = photolibrary::parseCloudAddress(v);
        if (const auto* wrong = std::get_if<std::string>(&address)) return problem_ = "--cloud: " + *wrong, false;
        addCloud(arguments_.clouds, std::get<0>(std::move(address)));
        return true;
      });
  add(any, "cloud-credentials", "FILE", "Lines of URL, USER and PASSWORD, for folders below that URL",
      text(a.cloudCredentials));
  add(any, "follow-links", nullptr, "Also look through folders outside of the named ones that links lead to",
      set(a.followLinks));
  add(any, "kind", "all|images|videos", "What may be picked (all)",
      oneOf(a.kind, {{"all", 0}, {"images", 1}, {"videos", 2}}));
  add(any, "max", "N", "How many items at most (-1: no limit; 0 refuses the first)", [&a](const std::string& v) {
    const auto number = toNumber<std::int64_t>(v);
    a.max = number.value_or(a.max);
    return number.has_value();
  });
  add(any, "size", "WxH", "Images are delivered within this many pixels (1600x1600)", size(a.width, a.height));
  add(any, "output", "DIR", "Write what was picked there: upright, names and dates kept, nothing replaced",
      text(a.output));
  add(any, "format", "json|paths|paths0", "What is printed for each item, in picked order (json, a line each)",
      oneOf(a.format, {{"json", Format::Json}, {"paths", Format::Paths}, {"paths0", Format::Paths0}}));
  add(any, "window", "WxH", "The window's size (1024x720)", size(a.windowWidth, a.windowHeight));
  add(any, "camera", "auto|test|none", "What the camera button opens; test: made-up pictures (auto)",
      oneOf(a.camera, {{"auto", Camera::Auto}, {"test", Camera::Test}, {"none", Camera::None}}));
  add(any, "screenshot", "FILE", "Save a picture of the settled window, with --pick before Done, and end",
      text(a.screenshot));
  add(any, "help", nullptr, "Show this", set(a.help));
  add(any, "version", nullptr, "Show the version", set(a.version));
  add(any, G_OPTION_REMAINING, "[FOLDER...]", nullptr, [this](const std::string& v) {
    arguments_.folders.push_back(v);
    if (v.empty()) problem_ = "a folder's name is empty";
    return !v.empty();
  });

  GOptionGroup& alone = *g_option_group_new("headless", "Without a window:", "", this, nullptr);
  g_option_context_add_group(context_.get(), &alone);
  add(alone, "headless", nullptr, "Show nothing, ask nothing: naming folders is the consent to read them",
      set(a.headless));
  add(alone, "list", nullptr, "Print the albums", set(a.list));
  add(alone, "pick", "ALBUM:I,J-K", "Pick by position, 0 the newest, in the album with that title; repeatable",
      [&a](const std::string& v) {
        const auto pick = toPick(v);
        if (pick) a.picks.push_back(*pick);
        return pick.has_value();
      });
  const auto onFailure = oneOf(
      a.onFailure, {{"continue", OnFailure::Continue}, {"retry", OnFailure::Retry}, {"cancel", OnFailure::Cancel}});
  add(alone, "on-failure", "continue|retry|cancel", "What to answer when items cannot be fetched (cancel)",
      [this, onFailure](const std::string& v) { return answersAlerts_ = true, onFailure(v); });

  g_option_context_set_help_enabled(context_.get(), FALSE);  // it would print and end
  g_option_context_set_summary(context_.get(),
                               "Pick photos and videos out of folders and clouds, or out of your own pictures and "
                               "videos when none is named.");
  g_option_context_set_description(
      context_.get(),
      "Who you are to a cloud is looked for in the file of --cloud-credentials, in TLX_CLOUD_USER and\n"
      "TLX_CLOUD_PASSWORD, and in the desktop's keyring; then a window asks you.\n"
      "Exit status: 0 delivered, 1 cancelled, 2 usage, 3 no access, 4 cancelled because something failed.\n");
}

void Options::add(GOptionGroup& group, const char* name, const char* form, const char* help, Take take) {
  takes_.emplace(*name ? std::string("--") + name : "", std::move(take));
  const auto called = [](const gchar* option, const gchar* value, gpointer self, GError** error) -> gboolean {
    auto& options = *static_cast<Options*>(self);
    if (options.takes_.at(option)(value ? value : "")) return TRUE;
    if (options.problem_.empty())
      options.problem_ = std::string(option) + " does not take \"" + (value ? value : "") + "\"";
    g_set_error_literal(error, G_OPTION_ERROR, G_OPTION_ERROR_FAILED, "");
    return FALSE;
  };
  // Values come as they are, whatever their bytes, as names of files do.
  const gint flags = form ? G_OPTION_FLAG_FILENAME : G_OPTION_FLAG_NO_ARG;
  if (!form) switches_.insert(std::string("--") + name);
  const GOptionEntry entries[] = {
      {name, 0, flags, G_OPTION_ARG_CALLBACK, reinterpret_cast<gpointer>(+called), help, form}, {}};
  g_option_group_add_entries(&group, entries);
}

std::string Options::help() const {
  const std::unique_ptr<gchar, void (*)(gpointer)> text(g_option_context_get_help(context_.get(), FALSE, nullptr),
                                                        &g_free);
  return text.get();
}

std::variant<Arguments, std::string> Options::parse(std::vector<std::string> words) {
  // The parser would pass over it.
  for (auto word = words.begin(); word != words.end() && *word != "--"; ++word) {
    if (const std::string name = word->substr(0, word->find('=')); name != *word && switches_.contains(name)) {
      return name + " takes no value";
    }
  }
  words.insert(words.begin(), kProgram);
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  int count = static_cast<int>(words.size());
  char** from = pointers.data();
  GError* error = nullptr;
  if (!g_option_context_parse(context_.get(), &count, &from, &error)) {
    std::string why = problem_.empty() ? error->message : problem_;
    // What follows may be secret.
    if (g_error_matches(error, G_OPTION_ERROR, G_OPTION_ERROR_UNKNOWN_OPTION)) why = why.substr(0, why.find('='));
    g_error_free(error);
    return why;
  }
  if (std::string wrong = contradiction(); !wrong.empty()) return wrong;
  return std::move(arguments_);
}

std::string Options::contradiction() const {
  const Arguments& a = arguments_;
  if (a.help || a.version) return {};
  if (a.list && !a.picks.empty()) return "--list and --pick exclude each other";
  if (!a.headless && (a.list || !a.picks.empty())) return "--list and --pick need --headless";
  if (a.headless && !a.list && a.picks.empty()) return "--headless needs --list or --pick";
  if (!a.headless && answersAlerts_) return "--on-failure needs --headless";
  if (a.list && !a.screenshot.empty()) return "--screenshot needs a window or --pick";
  return {};
}

}  // namespace

void eraseSecrets(int count, char** words) {
  for (int i = 0; i < count; ++i) {
    char* const scheme = std::strstr(words[i], "://");
    char* const at = scheme ? std::strrchr(scheme, '@') : nullptr;
    char* const colon =
        at ? static_cast<char*>(std::memchr(scheme + 3, ':', static_cast<std::size_t>(at - scheme - 3))) : nullptr;
    if (!colon) continue;
    char* const end = at + std::strlen(at);
    std::fill(std::copy(at, end, colon), end, '\0');
  }
}

std::variant<Arguments, std::string> parseArguments(const std::vector<std::string>& words) {
  return Options().parse(words);
}

std::string usage() {
  return Options().help();
}

}  // namespace tlx::program
