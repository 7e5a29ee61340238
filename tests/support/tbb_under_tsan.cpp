// Linked into the test programs only under the thread sanitizer, which cannot look into the packaged oneTBB
// and would call every task a race with the thread that made it. These functions stand before the library's
// own: each tells the sanitizer what the library guarantees (what came before a spawn is seen by the task,
// what a task did is seen after the wait, a block that is given out again belongs to the new owner) and calls
// the real one. Suppressions would have to hide every report from inside a task, the true ones too.
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

template <typename Function>
Function* theirs(const char* mangledName) {
    void* found = dlsym(RTLD_NEXT, mangledName);
    if (found == nullptr) std::abort();  // another oneTBB than the one whose names these are
    return reinterpret_cast<Function*>(found);
}

// Stands for another task until it runs.
class Announced final : public tbb::detail::d1::task {
  public:
    explicit Announced(task& inner) : inner_(inner) { __tsan_release(this); }
    task* execute(tbb::detail::d1::execution_data& data) override { return unwrap().execute(data); }
    task* cancel(tbb::detail::d1::execution_data& data) override { return unwrap().cancel(data); }

  private:
    task& unwrap() {
        __tsan_acquire(this);
        task& inner = inner_;
        delete this;
        return inner;
    }
    task& inner_;
};

class AnnouncedCall final : public tbb::detail::d1::delegate_base {
  public:
    explicit AnnouncedCall(delegate_base& inner) : inner_(inner) { __tsan_release(this); }
    bool operator()() const override {
        auto* token = const_cast<AnnouncedCall*>(this);
        __tsan_acquire(token);
        const bool result = inner_();
        __tsan_release(token);
        return result;
    }

  private:
    delegate_base& inner_;
};

}  // namespace

namespace {
char givenBack = 0;
}

namespace tbb::detail::r1 {

void spawn(d1::task& task, d1::task_group_context& context) {
    static auto* real = theirs<void(d1::task&, d1::task_group_context&)>(
        "_ZN3tbb6detail2r15spawnERNS0_2d14taskERNS2_18task_group_contextE");
    real(*new Announced(task), context);
}

void wait(d1::wait_context& waited, d1::task_group_context& context) {
    static auto* real = theirs<void(d1::wait_context&, d1::task_group_context&)>(
        "_ZN3tbb6detail2r14waitERNS0_2d112wait_contextERNS2_18task_group_contextE");
    real(waited, context);
    // Somewhere in here is the counter that every finished task has lowered.
    auto* words = reinterpret_cast<std::uint64_t*>(&waited);
    for (std::size_t each = 0; each < sizeof(waited) / sizeof(*words); ++each) __tsan_acquire(words + each);
}

void execute(d1::task_arena_base& arena, d1::delegate_base& call) {
    static auto* real = theirs<void(d1::task_arena_base&, d1::delegate_base&)>(
        "_ZN3tbb6detail2r17executeERNS0_2d115task_arena_baseERNS2_13delegate_baseE");
    AnnouncedCall announced(call);
    real(arena, announced);
    __tsan_acquire(&announced);
}

void* allocate(d1::small_object_pool*& pool, std::size_t bytes) {
    static auto* real = theirs<void*(d1::small_object_pool*&, std::size_t)>(
        "_ZN3tbb6detail2r18allocateERPNS0_2d117small_object_poolEm");
    void* block = real(pool, bytes);
    __tsan_acquire(block);
    return block;
}

void* allocate(d1::small_object_pool*& pool, std::size_t bytes, const d1::execution_data& data) {
    static auto* real = theirs<void*(d1::small_object_pool*&, std::size_t, const d1::execution_data&)>(
        "_ZN3tbb6detail2r18allocateERPNS0_2d117small_object_poolEmRKNS2_14execution_dataE");
    void* block = real(pool, bytes, data);
    __tsan_acquire(block);
    return block;
}

void deallocate(d1::small_object_pool& pool, void* block, std::size_t bytes) {
    static auto* real = theirs<void(d1::small_object_pool&, void*, std::size_t)>(
        "_ZN3tbb6detail2r110deallocateERNS0_2d117small_object_poolEPvm");
    __tsan_release(block);
    __tsan_release(&givenBack);
    real(pool, block, bytes);
}

void deallocate(d1::small_object_pool& pool, void* block, std::size_t bytes, const d1::execution_data& data) {
    static auto* real = theirs<void(d1::small_object_pool&, void*, std::size_t, const d1::execution_data&)>(
        "_ZN3tbb6detail2r110deallocateERNS0_2d117small_object_poolEPvmRKNS2_14execution_dataE");
    __tsan_release(block);
    __tsan_release(&givenBack);
    real(pool, block, bytes, data);
}

// Blocks that one thread gives back and another gets: the C library's own are known to the sanitizer.
void* cache_aligned_allocate(std::size_t bytes) {
    constexpr std::size_t kLine = 128;
    return std::aligned_alloc(kLine, (bytes + kLine - 1) / kLine * kLine);
}

// A thread that ends frees its pool, once every block of it was given back.
void cache_aligned_deallocate(void* block) {
    __tsan_acquire(&givenBack);
    std::free(block);
}

}  // namespace tbb::detail::r1
