#include "scripted_sdk/fire.h"

#include <future>
#include <latch>
#include <map>
#include <memory>
#include <mutex>

#include "scripted_sdk/threads.h"

namespace ScriptedSdk {

namespace {

constexpr const char* kDefaultThread = "sdk";

Through readThrough(Fields& fields) {
  const auto through = fields.text("through", "current");
  if (through == "current") return Through::kCurrent;
  if (through == "last") return Through::kLast;
  fields.refuse("'through' must be \"current\" or \"last\"");
}

// Posts `work`, which must not throw, and returns its coming result.
std::future<Json> postTo(NativeThread& thread, std::function<Json()> work) {
  // Not a packaged_task: it would run the work inside pthread_once, which ThreadSanitizer cannot
  // see into.
  const auto promise = std::make_shared<std::promise<Json>>();
  thread.post([promise, work = std::move(work)] { promise->set_value(work()); });
  return promise->get_future();
}

struct Lane {
  NativeThread* thread;
  std::vector<Fire> fires;
};

std::vector<Lane> readLanes(const Json& lanes) {
  std::vector<Lane> all;
  std::set<std::string> names;
  for (const Json& value : lanes) {
    Fields fields(value, "lane");
    const auto name = fields.name("thread");
    // Two lanes on one thread would wait for each other at the start.
    if (!names.insert(name).second) fields.refuse("second lane for thread '" + name + "'");
    Lane lane{&nativeThread(name), {}};
    for (const Json& fire : fields.required("fires")) {
      if (fire.contains("thread")) fields.refuse("its fires are made on its own thread");
      lane.fires.push_back(Fire::read(fire));
    }
    fields.finish();
    all.push_back(std::move(lane));
  }
  return all;
}

// Bursts that have not been collected; kept until the process ends, as the threads are.
struct Bursts {
  std::mutex mutex;
  uint64_t nextTicket = 1;
  std::map<uint64_t, std::vector<std::future<Json>>> pending;
};

Bursts& bursts() {
  static auto& instance = *new Bursts;
  return instance;
}

}  // namespace

Fire Fire::read(const Json& value) {
  Fields fields(value, "fire");
  Fire fire;
  fire.thread = fields.text("thread", kDefaultThread);
  Aim aim;
  aim.target = fields.pointer("target", nullptr);
  aim.through = readThrough(fields);
  fire.callback = readCallback(fields.name("callback"), fields, aim);
  fields.finish();
  return fire;
}

Json Fire::perform() const {
  NativeThread* const native = thread ? &nativeThread(*thread) : nullptr;
  if (!native || native->isCurrent()) return callback();
  auto result = postTo(*native, callback);
  if (result.wait_for(kHangGuard) == std::future_status::ready) return result.get();
  return {{"delivered", false}, {"reason", "thread '" + *thread + "' is busy"}};
}

uint64_t startBurst(const Json& lanes) {
  auto read = readLanes(lanes);
  const auto gate = std::make_shared<std::latch>(static_cast<std::ptrdiff_t>(read.size()));
  std::vector<std::future<Json>> results;
  results.reserve(read.size());
  for (Lane& lane : read) {
    results.push_back(postTo(*lane.thread, [gate, fires = std::move(lane.fires)] {
      gate->arrive_and_wait();
      Json all = Json::array();
      for (const Fire& fire : fires) all.push_back(fire.callback());
      return all;
    }));
  }
  auto& all = bursts();
  std::lock_guard lock(all.mutex);
  all.pending[all.nextTicket] = std::move(results);
  return all.nextTicket++;
}

Json collectBurst(uint64_t ticket) {
  auto& all = bursts();
  std::unique_lock lock(all.mutex);
  auto burst = all.pending.extract(ticket);
  lock.unlock();
  if (burst.empty()) throw std::invalid_argument("no burst with ticket " + std::to_string(ticket));
  Json lanes = Json::array();
  for (auto& result : burst.mapped()) {
    if (result.wait_for(kHangGuard) != std::future_status::ready) {
      throw std::runtime_error("the burst's threads do not end");
    }
    lanes.push_back(result.get());
  }
  return lanes;
}

}  // namespace ScriptedSdk
