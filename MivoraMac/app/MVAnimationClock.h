#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVAnimationClockTick;
class MVWeakPointerContainer;

/// The source of time for what animates in an application: once a frame it ticks every object that
/// is registered with it, in no particular order. It holds them weakly and forgets those that have
/// gone at the next tick.
///
/// Thread: main.
class MIVORA_EXPORT MVAnimationClock : public std::enable_shared_from_this<MVAnimationClock> {
 public:
    /// A clock with nothing to tick.
    static std::shared_ptr<MVAnimationClock> init();

    ~MVAnimationClock();
    MVAnimationClock(const MVAnimationClock&) = delete;
    MVAnimationClock& operator=(const MVAnimationClock&) = delete;

    /// The clock of the application whose frame ran last, held weakly; null when there is none.
    static std::shared_ptr<MVAnimationClock> activeClock();
    /// Makes a clock the active one; null for none.
    static void mv_setActiveClock(const std::shared_ptr<MVAnimationClock>& clock);

    /// Registers an object, once however often it is started. An object that is started during a
    /// tick is ticked from the next one on. Null is ignored.
    void startTick(const std::shared_ptr<MVAnimationClockTick>& ticker);

    /// Takes the registration back. Stopped during a tick, the object may still receive that one.
    /// Null and objects that are not registered are ignored.
    void stopTick(const std::shared_ptr<MVAnimationClockTick>& ticker);

    /// Takes back all registrations. During a tick, as `stopTick` for each of them.
    void stopAllTicks();

    /// Ticks all objects that are registered at the time of the call and still alive when their
    /// turn comes, then forgets those that have gone. A tick within a tick is a tick of its own.
    /// What an object throws ends the tick. A clock that is dropped in the middle of a tick goes
    /// after it.
    /// @param step  the time that passes, in seconds; handed on as it is, as is `sync`
    /// @param sync  a time stamp of the display's refresh, in seconds; 0 where there is none
    void tickVideoSync(double step, double sync);

    /// @name Internal to the library
    /// @{

    /// Whether a tick has anything to do: an object is registered, alive or gone. Thread: any.
    bool mv_hasTickers() const { return hasTickers_.load(); }

    /// Has `handler` called when a tick comes to have something to do; an empty one is not called.
    void mv_setStartHandler(std::function<void()> handler);

    /// @}

 private:
    friend struct ::MVMaker;

    using Container = std::shared_ptr<MVWeakPointerContainer>;

    /// A set of containers. Keyed by their addresses because the equality of containers changes
    /// when an object dies: containers of one that has gone and of a new one in its place share a
    /// key.
    using ContainerSet = std::unordered_multimap<const void*, Container>;

    MVAnimationClock();

    static ContainerSet::iterator find(ContainerSet& set, const MVWeakPointerContainer& container);

    void noteTickers();

    ContainerSet objects_;
    std::atomic<bool> hasTickers_{false};  // as `objects_` says
    std::function<void()> startHandler_;
    std::vector<Container> objectsToRemove_;
};
