#include "tests/linux/webkit/page.h"

#include <cstdlib>
#include <stdexcept>

namespace orvel {

namespace {

std::string targetName(NavigationTarget target) {
  switch (target) {
    case NavigationTarget::mainFrame:
      return "mainFrame ";
    case NavigationTarget::subFrame:
      return "subFrame ";
    case NavigationTarget::newWindow:
      return "newWindow ";
  }
  return "";
}

/// "GET /path" of a request.
std::string lineOf(const std::string &head) { return head.substr(0, head.find(" HTTP/")); }

std::filesystem::path makeFolder() {
  std::string pattern = testing::TempDir() + "orvel-page-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  return pattern;
}

struct Evaluation {
  bool done = false;
  std::optional<std::string> value;
};

void evaluated(GObject *source, GAsyncResult *result, gpointer data) {
  const std::unique_ptr<std::shared_ptr<Evaluation>> evaluation(
      static_cast<std::shared_ptr<Evaluation> *>(data));
  (*evaluation)->done = true;
  JSCValue *value =
      webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, nullptr);
  if (value == nullptr) return;
  char *text = jsc_value_to_string(value);
  (*evaluation)->value = text;
  g_free(text);
  g_object_unref(value);
}

}  // namespace

NavigationPolicy PageDelegate::policyFor(const NavigationAction &action) const {
  lastAsked = name(action);
  if (!action.url) return NavigationPolicy::cancel;
  const bool isHere =
      action.url->scheme == "about" || action.url->absoluteString.starts_with(server);
  const bool isFile = action.url->path.starts_with("/file/");
  const bool isKept =
      action.url->path == "/export" || (isFile && action.target != NavigationTarget::subFrame);
  return isHere && !isKept ? NavigationPolicy::allow : NavigationPolicy::cancel;
}

NavigationPolicy PageDelegate::decidePolicy(const NavigationAction &action) {
  decisions.push_back(name(action));
  const NavigationPolicy policy = policyFor(action);
  if (policy == NavigationPolicy::cancel) cancelled.push_back(decisions.back());
  return policy;
}

void PageDelegate::createWebView(const std::optional<Url> &url) { windows.push_back(name(url)); }

void PageDelegate::runJavaScriptAlertPanel(const std::string &message,
                                           std::function<void()> completion) {
  panels.push_back("alert " + message);
  alerts.push_back(std::move(completion));
}

void PageDelegate::runJavaScriptConfirmPanel(const std::string &message,
                                             std::function<void(bool)> completion) {
  panels.push_back("confirm " + message);
  confirms.push_back(std::move(completion));
}

std::string PageDelegate::name(const NavigationAction &action) const {
  return targetName(action.target) + name(action.url);
}

std::string PageDelegate::name(const std::optional<Url> &url) const {
  if (!url) return "(none)";
  const bool isHere = url->absoluteString.starts_with(server);
  return isHere ? url->absoluteString.substr(server.size() - 1) : url->absoluteString;
}

LinuxPage::LinuxPage()
    : folder(makeFolder()), server([this](LoopbackConnection &connection, const std::string &head) {
        answerRequest(connection, head);
      }) {
  delegate.server = server.url();
  makeView(folder);
}

LinuxPage::~LinuxPage() {
  openGate();
  view.reset();
  std::error_code error;
  std::filesystem::remove_all(folder, error);
}

void LinuxPage::makeView(const std::filesystem::path &cache) {
  WebViewConfiguration configuration;
  configuration.persistentDataStore = false;
  const WebKitSurroundings surroundings{.dataFolder = cache, .cacheFolder = cache};
  view = std::make_unique<WebKitPageView>(configuration, surroundings, delegate);
}

void LinuxPage::load(const std::string &path) {
  UrlRequest request;
  request.url = Url::parse(server.url(path)).value();
  view->load(request);
}

void LinuxPage::show(const std::string &html) {
  const std::string path = "/page" + std::to_string(++marks_);
  setPage(path, html);
  load(path);
  ASSERT_TRUE(untilPage("location.pathname + document.readyState", path + "complete"));
}

std::optional<std::string> LinuxPage::evaluate(const std::string &script) {
  const auto evaluation = std::make_shared<Evaluation>();
  webkit_web_view_evaluate_javascript(webKit(), script.c_str(), -1, nullptr, nullptr, nullptr,
                                      evaluated, new std::shared_ptr(evaluation));
  EXPECT_TRUE(until([&] { return evaluation->done; })) << script;
  return evaluation->value;
}

bool LinuxPage::untilPage(const std::string &script, const std::string &text) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  std::optional<std::string> last;
  while (std::chrono::steady_clock::now() < end) {
    last = evaluate(script);
    if (last == text) return true;
  }
  ADD_FAILURE() << script << " gives " << last.value_or("nothing");
  return false;
}

bool LinuxPage::settle() {
  const std::string mark = "/mark" + std::to_string(++marks_);
  evaluate("fetch('" + mark + "'); 0");
  return until([&] { return !requests("GET " + mark).empty(); });
}

LinuxPage::Strings LinuxPage::requests(const std::string &start) const {
  Strings found;
  for (const std::string &head : server.heads()) {
    if (lineOf(head).starts_with(start)) found.push_back(lineOf(head));
  }
  return found;
}

void LinuxPage::setPage(const std::string &path, const std::string &html) {
  const std::lock_guard lock(mutex_);
  pages_[path] = html;
}

void LinuxPage::openGate() {
  const std::lock_guard lock(mutex_);
  gateIsOpen_ = true;
  gateOpens_.notify_all();
}

WebKitWebView *LinuxPage::webKit() const {
  return WEBKIT_WEB_VIEW(dynamic_cast<WebKitPageView &>(*view).widget());
}

void LinuxPage::answerRequest(LoopbackConnection &connection, const std::string &head) {
  std::string path = lineOf(head);
  path = path.substr(path.find(' ') + 1);
  std::unique_lock lock(mutex_);
  if (path.starts_with("/gate/")) {
    gateOpens_.wait(lock, [this] { return gateIsOpen_; });
    path = path.substr(5);
  }
  const std::string start = "/redirect/";
  if (path.starts_with(start)) {
    connection.send(answer(path.substr(start.size(), 3) + " Moved", "",
                           "Location: " + path.substr(start.size() + 3) + "\r\n"));
    return;
  }
  const auto page = pages_.find(path.substr(0, path.find('?')));
  connection.send(answer("200 OK", page != pages_.end() ? page->second : "inhoud van " + path,
                         "Content-Type: text/html\r\nCache-Control: no-store\r\n"));
}

}  // namespace orvel
