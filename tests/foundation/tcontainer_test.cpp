#include "foundation/tcontainer.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{
template <class T> std::vector<T> contents(TContainer<T>& container)
{
    std::vector<T> seen;
    std::unique_ptr<TIterator<T>> it(container.newIterator());
    while (it && !it->isDone())
        seen.push_back(it->next());
    return seen;
}

template <class T> std::vector<T> backwards(TContainer<T>& container)
{
    std::vector<T> seen;
    std::unique_ptr<TIterator<T>> it(container.newIterator());
    it->last();
    while (!it->isDone())
        seen.push_back(it->previous());
    return seen;
}

// A container that supplies only the abstract operations, so the lookups it answers are the
// iterator-based ones every container inherits.
class MinimalContainer : public TContainer<int>
{
public:
    TContainer<int>* newInstance() override { return new MinimalContainer; }
    int32_t getCount() const override { return list.getCount(); }
    bool add(const int& element) override { return list.add(element); }
    bool removeCurrent(TIterator<int>& it) override { return list.removeCurrent(it); }
    bool removeItem(const int& element) override { return list.removeItem(element); }
    bool removeAt(int32_t index) override { return list.removeAt(index); }
    void removeAll() override { list.removeAll(); }
    TIterator<int>* newIterator() override { return list.newIterator(); }

private:
    TLinkedList<int> list;
};

using IntList = std::vector<int>;

TEST(TLinkedListTest, MissingElementsReadAsZero)
{
    TLinkedList<int> list;
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.at(0), 0);
    EXPECT_EQ(list.removeFirst(), 0);
    EXPECT_EQ(list.removeLast(), 0);
    EXPECT_FALSE(list.removeAt(0));

    list.add(7);
    list.add(8);
    EXPECT_EQ(list.at(-1), 0);
    EXPECT_EQ(list.at(2), 0);
    EXPECT_EQ(list.findItem(99), 0);

    // A caller that writes through the zero element must not change what the next one reads.
    list.at(5) = 42;
    EXPECT_EQ(list.at(5), 0);

    TLinkedList<int*> pointers;
    EXPECT_EQ(pointers.at(3), nullptr);

    std::unique_ptr<TIterator<int>> it(list.newIterator());
    ASSERT_TRUE(it);
    it->next();
    it->next();
    EXPECT_TRUE(it->isDone());
    EXPECT_EQ(it->next(), 0);
    EXPECT_EQ(it->current(), 0);
}

TEST(TLinkedListTest, RemovalKeepsBothEndsOfTheChain)
{
    TLinkedList<int> list;
    for (int v : {1, 2, 3, 4, 5})
        ASSERT_TRUE(list.add(v));
    EXPECT_EQ(list.getCount(), 5);
    EXPECT_EQ(list.getCapacity(), 5);

    EXPECT_TRUE(list.removeAt(2));
    EXPECT_EQ(contents(list), (IntList{1, 2, 4, 5}));
    EXPECT_FALSE(list.removeAt(4));
    EXPECT_FALSE(list.removeAt(-1));

    EXPECT_EQ(list.removeLast(), 5);
    EXPECT_EQ(list.removeFirst(), 1);
    // Two left; taking the last must leave a tail that the next add can hang on to.
    EXPECT_EQ(list.removeLast(), 4);
    list.add(9);
    EXPECT_EQ(contents(list), (IntList{2, 9}));
    EXPECT_EQ(backwards(list), (IntList{9, 2}));

    EXPECT_FALSE(list.removeItem(3));
    EXPECT_EQ(contents(list), (IntList{2, 9}));

    // Down to nothing through removeAt(0), then built up again from empty.
    EXPECT_TRUE(list.removeAt(1));
    EXPECT_TRUE(list.removeAt(0));
    EXPECT_TRUE(list.isEmpty());
    std::unique_ptr<TIterator<int>> empty(list.newIterator());
    EXPECT_TRUE(empty->isDone());
    empty->last();
    EXPECT_TRUE(empty->isDone());
    list.add(3);
    list.add(4);
    EXPECT_EQ(contents(list), (IntList{3, 4}));
    EXPECT_EQ(list.at(1), 4);

    list.removeAll();
    EXPECT_EQ(list.getCount(), 0);
    list.add(6);
    EXPECT_EQ(contents(list), (IntList{6}));
}

TEST(TLinkedListTest, EqualElementsAreFoundAndRemovedFirstFirst)
{
    TLinkedList<int> list;
    for (int v : {4, 1, 4, 2, 4})
        list.add(v);
    EXPECT_EQ(list.countItem(4), 3);
    EXPECT_TRUE(list.containsItem(2));
    EXPECT_FALSE(list.containsItem(3));

    // findItem gives the element itself, not a copy.
    list.findItem(2) = 20;
    EXPECT_EQ(list.at(3), 20);

    EXPECT_TRUE(list.removeItem(4));
    EXPECT_EQ(contents(list), (IntList{1, 4, 20, 4}));

    std::unique_ptr<TIterator<int>> it(list.newIterator());
    it->next();
    EXPECT_EQ(it->current(), 4);
    EXPECT_TRUE(list.removeCurrent(*it));
    EXPECT_EQ(contents(list), (IntList{1, 20, 4}));

    std::unique_ptr<TContainer<int>> fresh(list.newInstance());
    ASSERT_TRUE(fresh);
    EXPECT_TRUE(fresh->isEmpty());
    fresh->add(1);
    EXPECT_EQ(fresh->at(0), 1);
}

TEST(TLinkedListTest, IteratorWalksForwardAndBack)
{
    TLinkedList<int> list;
    for (int v : {10, 20, 30})
        list.add(v);
    std::unique_ptr<TIterator<int>> it(list.newIterator());
    EXPECT_EQ(it->next(), 10);
    EXPECT_EQ(it->next(), 20);
    EXPECT_EQ(it->previous(), 30); // gives the current one, then steps back
    EXPECT_EQ(it->current(), 20);
    EXPECT_EQ(it->previous(), 20);
    EXPECT_EQ(it->previous(), 10);
    EXPECT_TRUE(it->isDone());
    it->first();
    EXPECT_EQ(it->current(), 10);
    it->last();
    EXPECT_EQ(it->current(), 30);
}

TEST(TContainerTest, LookupsWorkThroughTheIteratorAlone)
{
    MinimalContainer container;
    for (int v : {5, 6, 5, 7})
        container.add(v);
    EXPECT_EQ(container.at(0), 5);
    EXPECT_EQ(container.at(3), 7);
    EXPECT_EQ(container.at(4), 0);
    EXPECT_EQ(container.at(-1), 0);
    EXPECT_EQ(container.countItem(5), 2);
    EXPECT_TRUE(container.containsItem(6));
    EXPECT_FALSE(container.containsItem(8));
    container.findItem(7) = 70;
    EXPECT_EQ(container.at(3), 70);
    EXPECT_EQ(container.findItem(8), 0);
    EXPECT_FALSE(container.isEmpty());
    container.removeAll();
    EXPECT_TRUE(container.isEmpty());
}

TEST(TArrayTest, GrowsByItsGrowthRule)
{
    TArray<int> byTen; // growth 10, nothing allocated yet
    EXPECT_EQ(byTen.getCapacity(), 0);
    std::vector<int32_t> capacities;
    for (int i = 0; i < 21; ++i)
    {
        ASSERT_TRUE(byTen.add(i));
        capacities.push_back(byTen.getCapacity());
    }
    EXPECT_EQ(capacities[0], 10);
    EXPECT_EQ(capacities[9], 10);
    EXPECT_EQ(capacities[10], 20);
    EXPECT_EQ(capacities[20], 30);
    EXPECT_EQ(byTen.getCount(), 21);
    EXPECT_EQ(byTen.at(20), 20);

    TArray<int> doubling(0, 0xFFFFFFFFu);
    std::vector<int32_t> seen;
    for (int i = 0; i < 21; ++i)
    {
        doubling.add(i);
        if (seen.empty() || seen.back() != doubling.getCapacity()) seen.push_back(doubling.getCapacity());
    }
    EXPECT_EQ(seen, (std::vector<int32_t>{10, 20, 40}));

    TArray<int> fixed(2, 0);
    EXPECT_TRUE(fixed.add(1));
    EXPECT_TRUE(fixed.add(2));
    EXPECT_FALSE(fixed.add(3));
    EXPECT_EQ(fixed.getCount(), 2);
    EXPECT_EQ(fixed.getCapacity(), 2);
    TArray<int> never(0, 0);
    EXPECT_FALSE(never.add(1));

    TArray<int> byThree(0, 3);
    for (int i = 0; i < 4; ++i)
        byThree.add(i);
    EXPECT_EQ(byThree.getCapacity(), 6);

    std::unique_ptr<TContainer<int>> fresh(fixed.newInstance());
    ASSERT_TRUE(fresh);
    EXPECT_EQ(fresh->getCapacity(), 0);
    fresh->add(1);
    EXPECT_EQ(fresh->getCapacity(), 10);
}

TEST(TArrayTest, InsertionRemovalAndCapacity)
{
    TArray<int> array;
    EXPECT_TRUE(array.insertAt(0, 2));
    EXPECT_TRUE(array.insertAt(0, 1));
    EXPECT_TRUE(array.insertAt(2, 4));
    EXPECT_TRUE(array.insertAt(2, 3));
    EXPECT_FALSE(array.insertAt(5, 9));
    EXPECT_FALSE(array.insertAt(-1, 9));
    EXPECT_EQ(contents(array), (IntList{1, 2, 3, 4}));

    EXPECT_TRUE(array.removeAt(1));
    EXPECT_EQ(contents(array), (IntList{1, 3, 4}));
    EXPECT_FALSE(array.removeAt(3));
    EXPECT_EQ(array.at(3), 0); // the freed place reads zero
    EXPECT_FALSE(array.removeItem(2));
    EXPECT_TRUE(array.removeItem(4));
    EXPECT_EQ(contents(array), (IntList{1, 3}));

    // removeAll keeps the room it has: adding again allocates nothing.
    array.removeAll();
    EXPECT_EQ(array.getCount(), 0);
    EXPECT_EQ(array.getCapacity(), 10);
    EXPECT_EQ(array.at(0), 0);
    array.add(5);
    EXPECT_EQ(array.getCapacity(), 10);

    for (int i = 6; i < 10; ++i)
        array.add(i);
    EXPECT_TRUE(array.setCapacity(3));
    EXPECT_EQ(array.getCount(), 3);
    EXPECT_EQ(contents(array), (IntList{5, 6, 7}));
    EXPECT_TRUE(array.setCapacity(12));
    EXPECT_EQ(contents(array), (IntList{5, 6, 7}));
    EXPECT_FALSE(array.setCapacity(-1));
    EXPECT_EQ(array.getCapacity(), 12);
    EXPECT_TRUE(array.setCapacity(0));
    EXPECT_EQ(array.getCount(), 0);
    EXPECT_EQ(array.getCapacity(), 0);
    EXPECT_TRUE(array.add(1));
}

TEST(TArrayTest, IteratorAndLookups)
{
    TArray<unsigned long> slots(4);
    for (unsigned long v : {3ul, 9ul, 3ul, 5ul})
        slots.add(v);
    EXPECT_EQ(slots.getCapacity(), 4);
    EXPECT_EQ(slots.countItem(3), 2);
    EXPECT_EQ(slots.indexOf(5), 3);
    EXPECT_EQ(slots.indexOf(4), -1);
    slots.findItem(9) = 90;
    EXPECT_EQ(slots.at(1), 90ul);
    EXPECT_EQ(slots.findItem(1), 0ul);

    std::unique_ptr<TIterator<unsigned long>> it(slots.newIterator());
    it->last();
    EXPECT_EQ(it->previous(), 5ul);
    EXPECT_EQ(it->previous(), 3ul);
    EXPECT_EQ(it->current(), 90ul);
    EXPECT_TRUE(slots.removeCurrent(*it));
    EXPECT_EQ(contents(slots), (std::vector<unsigned long>{3, 3, 5}));
    it->previous();
    it->previous();
    EXPECT_TRUE(it->isDone());
    EXPECT_EQ(it->next(), 0ul);
    it->first();
    EXPECT_EQ(it->next(), 3ul);
}
} // namespace
