// Cost of CollectionX operations against the number of keyed items: each is a binary search over
// the sorted keys plus the move of the tables, so lookups should fit log n and add/remove n.
#include <benchmark/benchmark.h>

#include <QString>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "model/CollectionX.h"

namespace {

using Items = kvmail::CollectionX<std::shared_ptr<int>>;
constexpr int kBatch =
    64;  // operations timed between two untimed repairs (below the smallest size)

std::vector<QString> makeKeys(size_t count, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::vector<QString> keys;
  keys.reserve(count);
  for (size_t i = 0; i < count; ++i) keys.push_back(QStringLiteral("k%1").arg(rng(), 16, 16));
  return keys;
}

void fill(Items& items, const std::vector<QString>& keys, long n) {
  auto value = std::make_shared<int>(0);
  for (long i = 0; i < n; ++i) items.Add(value, keys[static_cast<size_t>(i)]);
}

void BM_KeyedLookup(benchmark::State& state) {
  const long n = state.range(0);
  const auto keys = makeKeys(static_cast<size_t>(n), 1);
  Items items;
  fill(items, keys, n);
  std::mt19937 rng(2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(items.Item(keys[rng() % static_cast<size_t>(n)]));
  }
  state.SetComplexityN(n);
}

void BM_AddKeyedAtRandomPlace(benchmark::State& state) {
  const long n = state.range(0);
  const auto keys = makeKeys(static_cast<size_t>(n), 1);
  const auto fresh = makeKeys(kBatch, 3);
  Items items;
  fill(items, keys, n);
  auto value = std::make_shared<int>(1);
  std::mt19937 rng(4);
  for (auto _ : state) {
    for (const QString& key : fresh)
      items.Add(value, key, kvmail::IndexKey(static_cast<long>(rng() % n) + 1), true);
    state.PauseTiming();
    for (const QString& key : fresh) items.Remove(key);
    state.ResumeTiming();
  }
  state.SetComplexityN(n);
  state.SetItemsProcessed(state.iterations() * kBatch);
}

void BM_RemoveKeyed(benchmark::State& state) {
  const long n = state.range(0);
  const auto keys = makeKeys(static_cast<size_t>(n), 1);
  Items items;
  fill(items, keys, n);
  auto value = std::make_shared<int>(1);
  std::mt19937 rng(5);
  std::vector<QString> victims(kBatch);
  for (auto _ : state) {
    state.PauseTiming();
    for (int i = 0; i < kBatch; ++i) {
      victims[i] = keys[rng() % static_cast<size_t>(n)];
      while (std::find(victims.begin(), victims.begin() + i, victims[i]) != victims.begin() + i)
        victims[i] = keys[rng() % static_cast<size_t>(n)];
    }
    state.ResumeTiming();
    for (const QString& key : victims) items.Remove(key);
    state.PauseTiming();
    for (const QString& key : victims)  // back in, at some place
      items.Add(value, key, kvmail::IndexKey(static_cast<long>(rng() % items.Count()) + 1), true);
    state.ResumeTiming();
  }
  state.SetComplexityN(n);
  state.SetItemsProcessed(state.iterations() * kBatch);
}

void sizes(benchmark::internal::Benchmark* b) {
  b->RangeMultiplier(4)->Range(1 << 8, 1 << 16)->Arg(100000)->Complexity(benchmark::oAuto);
}

}  // namespace

BENCHMARK(BM_KeyedLookup)->Apply(sizes);
BENCHMARK(BM_AddKeyedAtRandomPlace)->Apply(sizes);
BENCHMARK(BM_RemoveKeyed)->Apply(sizes);

BENCHMARK_MAIN();
