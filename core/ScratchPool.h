#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

// Working memory lent to one task at a time from a shared free list. As many
// sets exist as tasks ever held one at the same moment (not as many as
// threads ever ran such a task), and each keeps its size for the next task:
// large working sets are faulted in once and reused, without one per thread.
template <typename Scratch>
class ScratchPool
{
public:
    class Lease
    {
    public:
        Lease(ScratchPool& pool, std::unique_ptr<Scratch> held) : pool(pool), held(std::move(held)) {}
        Lease(Lease const&) = delete;
        Lease& operator=(Lease const&) = delete;
        ~Lease() { pool.giveBack(std::move(held)); }

        Scratch& operator*() const { return *held; }
        Scratch* operator->() const { return held.get(); }

    private:
        ScratchPool& pool;
        std::unique_ptr<Scratch> held;
    };

    Lease lease()
    {
        std::lock_guard<std::mutex> guard(lock);
        if (available.empty())
            return Lease(*this, std::make_unique<Scratch>());
        std::unique_ptr<Scratch> taken = std::move(available.back());
        available.pop_back();
        return Lease(*this, std::move(taken));
    }

private:
    std::mutex lock;
    std::vector<std::unique_ptr<Scratch>> available;

    void giveBack(std::unique_ptr<Scratch> scratch)
    {
        std::lock_guard<std::mutex> guard(lock);
        available.push_back(std::move(scratch));
    }
};
