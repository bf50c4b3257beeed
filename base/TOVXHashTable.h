#ifndef TOVX_HASH_TABLE_H
#define TOVX_HASH_TABLE_H

#include <cstdint>

#include "TOVXDynamicArray.h"

// Open-addressed table with linear probing over three parallel arrays. Entries are only
// added, never removed; the table doubles before the load factor would be passed, so a
// probe always meets a free slot. Read a value with Find, then values.At(index).
template <typename K, typename V>
class TOVXHashTable {
public:
    using HashFunction = uint32_t (*)(const K* key);
    using EqualFunction = bool (*)(const K* left, const K* right);

    TOVXDynamicArray<K> keys;
    TOVXDynamicArray<V> values;
    TOVXDynamicArray<unsigned char> occupied;  // 1 for a slot in use
    HashFunction hashFunction;                  // null: the built-in hash
    EqualFunction equalFunction;                // null: keys compare with ==
    float loadFactor;
    uint32_t entryCount;

    explicit TOVXHashTable(int expected)
        : keys(sizeFor(expected), K()),
          values(sizeFor(expected), V()),
          occupied(sizeFor(expected), 0),
          hashFunction(nullptr),
          equalFunction(nullptr),
          loadFactor(0.75f),
          entryCount(0) {}

    ~TOVXHashTable() {
        // Members go in reverse order of declaration: occupied, values, keys.
    }

    int Size() const { return occupied.Count(); }

    // The slot of `key`, or -1.
    int Find(const K* key) const {
        const int size = Size();
        if (size == 0) return -1;
        const int home = homeSlot(key, size);
        for (int step = 0; step < size; ++step) {
            const int slot = (home + step) % size;
            if (*occupied.At(slot) == 0) return -1;
            if (sameKey(keys.At(slot), key)) return slot;
        }
        return -1;
    }

    // Stores key and value in the first free slot of the probe; false when the key is
    // already there (its value stays) or the target has no slots.
    bool TryInsert(TOVXDynamicArray<K>& targetKeys, TOVXDynamicArray<V>& targetValues,
                   TOVXDynamicArray<unsigned char>& targetOccupied, const K* key, const V* value) {
        const int size = targetOccupied.Count();
        if (size == 0) return false;
        // Bounded by the size as a guard; the load factor keeps a free slot in reach.
        for (int step = 0, slot = homeSlot(key, size); step < size; ++step, slot = (slot + 1) % size) {
            if (*targetOccupied.At(slot) == 0) return store(targetKeys, targetValues, targetOccupied, slot, key, value);
            if (sameKey(targetKeys.At(slot), key)) return false;
        }
        return false;
    }

    // Moves every entry, in old slot order, into new arrays of `newSize` slots.
    void Rehash(int newSize) {
        TOVXDynamicArray<K> newKeys(newSize, K());
        TOVXDynamicArray<V> newValues(newSize, V());
        TOVXDynamicArray<unsigned char> newOccupied(newSize, 0);
        const int size = Size();
        for (int slot = 0; slot < size; ++slot)
            if (*occupied.At(slot) != 0) TryInsert(newKeys, newValues, newOccupied, keys.At(slot), values.At(slot));
        keys = newKeys;
        values = newValues;
        occupied = newOccupied;
    }

    // The first value stored under a key wins.
    void AddEntry(const K& key, const V& value) {
        // Strict: with 17 slots the threshold is 12.75, so the thirteenth entry doubles the table.
        if (static_cast<float>(entryCount + 1) > static_cast<float>(Size()) * loadFactor) Rehash(Size() * 2);
        if (TryInsert(keys, values, occupied, &key, &value)) ++entryCount;
    }

    // The built-in hash of a 32-bit key; every right shift is arithmetic.
    static uint32_t DefaultHash(uint32_t key) {
        uint32_t h = key + ~(key << 15);
        h ^= shiftRightArithmetic(h, 10);
        h *= 9u;
        h ^= shiftRightArithmetic(h, 6);
        h += ~(h << 11);
        h ^= shiftRightArithmetic(h, 16);
        return h;
    }

private:
    static int sizeFor(int expected) { return static_cast<int>(expected * 1.3333333333333333) + 1; }

    static uint32_t shiftRightArithmetic(uint32_t value, int bits) {
        const uint32_t shifted = value >> bits;
        return (value & 0x80000000u) != 0 ? shifted | ~(0xFFFFFFFFu >> bits) : shifted;
    }

    int homeSlot(const K* key, int size) const {
        const uint32_t h = hashFunction != nullptr ? hashFunction(key) : DefaultHash(static_cast<uint32_t>(*key));
        return static_cast<int>(h % static_cast<uint32_t>(size));
    }

    bool sameKey(const K* left, const K* right) const {
        return equalFunction != nullptr ? equalFunction(left, right) : *left == *right;
    }

    // Fills a free slot; false, with nothing stored, when memory for a block of the arrays' own ran out.
    static bool store(TOVXDynamicArray<K>& targetKeys, TOVXDynamicArray<V>& targetValues,
                      TOVXDynamicArray<unsigned char>& targetOccupied, int slot, const K* key, const V* value) {
        K* keySlot = targetKeys.MutableAt(slot);
        V* valueSlot = targetValues.MutableAt(slot);
        unsigned char* occupiedSlot = targetOccupied.MutableAt(slot);
        if (keySlot == nullptr || valueSlot == nullptr || occupiedSlot == nullptr) return false;
        *keySlot = *key;
        *valueSlot = *value;
        *occupiedSlot = 1;
        return true;
    }
};

#endif
