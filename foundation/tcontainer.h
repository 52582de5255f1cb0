#pragma once

// Value containers with one abstract face, so that code can walk a container without knowing
// its form. Elements are compared with == and copied by value; a container never owns what a
// pointer element points to.
//
// No operation faults on a bad index or an empty container: where there is no element to hand
// out, a reference to the container's zero element is given instead, so a caller always gets
// something it can read (0, or null for a pointer type). Allocation failures are reported as
// false, never thrown.

#include <cstdint>
#include <memory>
#include <new>

template <class T> class TLinkedListIterator;
template <class T> class TArrayIterator;

template <class T> class TIterator
{
public:
    virtual ~TIterator() {}

    // True when no element is left.
    virtual bool isDone() = 0;
    // The current element, then one step forward.
    virtual T& next() = 0;
    // The current element, then one step back.
    virtual T& previous() = 0;
    virtual T& current() = 0;
    virtual void first() = 0;
    virtual void last() = 0;
};

template <class T> class TContainer
{
public:
    TContainer() : emptyElement(), size(0) {}
    virtual ~TContainer() {}
    TContainer(const TContainer&) = delete;
    TContainer& operator=(const TContainer&) = delete;

    // A new empty container of the same kind; the caller deletes it. Null if memory is short.
    virtual TContainer<T>* newInstance() = 0;
    virtual int32_t getCount() const { return size; }
    virtual bool isEmpty() const { return getCount() == 0; }
    virtual int32_t getCapacity() const { return size; }
    virtual bool add(const T& element) = 0;
    // Removes the element the iterator stands on (the first equal one, to be exact).
    virtual bool removeCurrent(TIterator<T>& iterator) = 0;
    virtual bool removeItem(const T& element) = 0;
    virtual bool removeAt(int32_t index) = 0;
    virtual void removeAll() = 0;

    // The bodies below need nothing but an iterator, so a derived container is complete with the
    // abstract operations alone; the concrete containers override them with cheaper walks.
    virtual T& at(int32_t index)
    {
        if (index < 0) return empty();
        std::unique_ptr<TIterator<T>> it(newIterator());
        if (!it) return empty();
        for (int32_t i = 0; !it->isDone(); ++i)
        {
            T& element = it->next();
            if (i == index) return element;
        }
        return empty();
    }

    virtual T& findItem(const T& element)
    {
        std::unique_ptr<TIterator<T>> it(newIterator());
        while (it && !it->isDone())
        {
            T& candidate = it->next();
            if (candidate == element) return candidate;
        }
        return empty();
    }

    virtual bool containsItem(const T& element)
    {
        std::unique_ptr<TIterator<T>> it(newIterator());
        while (it && !it->isDone())
        {
            if (it->next() == element) return true;
        }
        return false;
    }

    virtual int32_t countItem(const T& element)
    {
        int32_t found = 0;
        std::unique_ptr<TIterator<T>> it(newIterator());
        while (it && !it->isDone())
        {
            if (it->next() == element) ++found;
        }
        return found;
    }

    // A heap iterator standing on the first element; the caller deletes it. Null if memory is
    // short.
    virtual TIterator<T>* newIterator() = 0;

protected:
    // The zero element is zeroed again each time it is handed out: a caller may have written
    // through an earlier reference, and the next caller must still read zero.
    T& empty()
    {
        emptyElement = T();
        return emptyElement;
    }

    T emptyElement;
    // The element count of a list, the capacity of an array.
    int32_t size;

    friend class TLinkedListIterator<T>;
    friend class TArrayIterator<T>;
};

// A singly linked list; every element costs one heap node. Reaching the last-but-one node (for
// removeLast, previous, at) walks from the head.
template <class T> class TLinkedList : public TContainer<T>
{
public:
    struct Node
    {
        Node* next;
        T value;
    };

    TLinkedList() : head(nullptr), tail(nullptr) {}
    ~TLinkedList() override { TLinkedList<T>::removeAll(); }

    TContainer<T>* newInstance() override { return new (std::nothrow) TLinkedList<T>; }

    bool add(const T& element) override
    {
        Node* node = new (std::nothrow) Node{nullptr, element};
        if (!node) return false;
        if (tail)
            tail->next = node;
        else
            head = node;
        tail = node;
        ++this->size;
        return true;
    }

    bool removeCurrent(TIterator<T>& iterator) override
    {
        // A copy: the reference would point into the node that is about to go.
        const T value = iterator.current();
        return removeItem(value);
    }

    bool removeItem(const T& element) override
    {
        int32_t index = 0;
        for (Node* node = head; node; node = node->next, ++index)
        {
            if (node->value == element) return removeAt(index);
        }
        return false;
    }

    bool removeAt(int32_t index) override
    {
        if (index < 0 || index >= this->size) return false;
        if (index == 0)
        {
            removeFirst();
            return true;
        }
        if (index == this->size - 1)
        {
            removeLast();
            return true;
        }
        Node* before = head;
        for (int32_t i = 1; i < index; ++i)
            before = before->next;
        Node* node = before->next;
        before->next = node->next;
        delete node;
        --this->size;
        return true;
    }

    void removeAll() override
    {
        Node* node = head;
        while (node)
        {
            Node* next = node->next;
            delete node;
            node = next;
        }
        head = nullptr;
        tail = nullptr;
        this->size = 0;
    }

    T& at(int32_t index) override
    {
        if (index < 0 || index >= this->size) return this->empty();
        Node* node = head;
        for (int32_t i = 0; i < index; ++i)
            node = node->next;
        return node->value;
    }

    T& findItem(const T& element) override
    {
        for (Node* node = head; node; node = node->next)
        {
            if (node->value == element) return node->value;
        }
        return this->empty();
    }

    bool containsItem(const T& element) override
    {
        for (Node* node = head; node; node = node->next)
        {
            if (node->value == element) return true;
        }
        return false;
    }

    int32_t countItem(const T& element) override
    {
        int32_t found = 0;
        for (Node* node = head; node; node = node->next)
        {
            if (node->value == element) ++found;
        }
        return found;
    }

    TIterator<T>* newIterator() override { return new (std::nothrow) TLinkedListIterator<T>(this); }

    // Each gives the value it took out, or the zero element for an empty list.
    T removeFirst()
    {
        if (!head) return this->empty();
        Node* node = head;
        T value = node->value;
        head = node->next;
        if (!head) tail = nullptr;
        delete node;
        --this->size;
        return value;
    }

    T removeLast()
    {
        if (!head) return this->empty();
        if (head == tail) return removeFirst();
        Node* before = head;
        while (before->next != tail)
            before = before->next;
        T value = tail->value;
        delete tail;
        tail = before;
        tail->next = nullptr;
        --this->size;
        return value;
    }

protected:
    Node* head;
    Node* tail;

    friend class TLinkedListIterator<T>;
};

// An array that grows on demand. Where an element goes and how one is found are left to the
// derived class (insertionIndex, indexOf), so an ordered array only overrides those two.
//
// Growth: 0 means the array never grows; 0xFFFFFFFF doubles it (from nothing to 10); any other
// value is the number of places added each time.
template <class T> class TArrayBase : public TContainer<T>
{
public:
    explicit TArrayBase(int32_t initialCapacity = 0, uint32_t growthStep = 10)
        : growth(growthStep), count(0), elements(nullptr)
    {
        setCapacity(initialCapacity > 0 ? initialCapacity : 0);
    }
    ~TArrayBase() override { delete[] elements; }

    int32_t getCount() const override { return count; }
    int32_t getCapacity() const override { return this->size; }

    bool add(const T& element) override { return insertAt(insertionIndex(element), element); }

    bool removeCurrent(TIterator<T>& iterator) override
    {
        const T value = iterator.current();
        return removeItem(value);
    }

    bool removeItem(const T& element) override
    {
        const int32_t index = indexOf(element);
        return index >= 0 && removeAt(index);
    }

    bool removeAt(int32_t index) override
    {
        if (index < 0 || index >= count) return false;
        for (int32_t i = index; i < count - 1; ++i)
            elements[i] = elements[i + 1];
        elements[count - 1] = T();
        --count;
        return true;
    }

    // Keeps the capacity: a later add allocates nothing.
    void removeAll() override
    {
        for (int32_t i = 0; i < count; ++i)
            elements[i] = T();
        count = 0;
    }

    T& at(int32_t index) override
    {
        if (index < 0 || index >= count) return this->empty();
        return elements[index];
    }

    T& findItem(const T& element) override
    {
        const int32_t index = indexOf(element);
        return index >= 0 && index < count ? elements[index] : this->empty();
    }

    bool containsItem(const T& element) override { return indexOf(element) >= 0; }

    int32_t countItem(const T& element) override
    {
        int32_t found = 0;
        for (int32_t i = 0; i < count; ++i)
        {
            if (elements[i] == element) ++found;
        }
        return found;
    }

    TIterator<T>* newIterator() override { return new (std::nothrow) TArrayIterator<T>(this); }

    // Where add puts an element, and where an equal element stands (-1 if none).
    virtual int32_t insertionIndex(const T& element) = 0;
    virtual int32_t indexOf(const T& element) = 0;

    // Index may be anything from 0 to the count; false outside that, and when the array is full
    // and may not or cannot grow.
    bool insertAt(int32_t index, const T& element)
    {
        if (index < 0 || index > count) return false;
        if (count >= this->size)
        {
            int64_t grown;
            if (growth == 0) return false;
            if (growth == 0xFFFFFFFFu)
                grown = this->size < 1 ? 10 : int64_t(this->size) * 2;
            else
                grown = int64_t(this->size) + growth;
            if (grown > INT32_MAX || !setCapacity(int32_t(grown))) return false;
        }
        for (int32_t i = count; i > index; --i)
            elements[i] = elements[i - 1];
        elements[index] = element;
        ++count;
        return true;
    }

    // A smaller capacity cuts the elements beyond it; 0 frees the storage. False, with the array
    // unchanged, if memory is short or the capacity is negative.
    bool setCapacity(int32_t capacity)
    {
        if (capacity < 0) return false;
        if (capacity == 0)
        {
            removeAll();
            delete[] elements;
            elements = nullptr;
            this->size = 0;
            return true;
        }
        T* fresh = new (std::nothrow) T[capacity]();
        if (!fresh) return false;
        if (count > capacity) count = capacity;
        for (int32_t i = 0; i < count; ++i)
            fresh[i] = elements[i];
        delete[] elements;
        elements = fresh;
        this->size = capacity;
        return true;
    }

protected:
    uint32_t growth;
    int32_t count;
    T* elements;

    friend class TArrayIterator<T>;
};

// The plain array: add appends, lookups search from the front.
template <class T> class TArray : public TArrayBase<T>
{
public:
    explicit TArray(int32_t initialCapacity = 0, uint32_t growthStep = 10)
        : TArrayBase<T>(initialCapacity, growthStep)
    {
    }

    TContainer<T>* newInstance() override { return new (std::nothrow) TArray<T>(0, 10); }

    int32_t insertionIndex(const T&) override { return this->count; }

    int32_t indexOf(const T& element) override
    {
        for (int32_t i = 0; i < this->count; ++i)
        {
            if (this->elements[i] == element) return i;
        }
        return -1;
    }
};

// Walks a list; does not survive the removal of the node it stands on.
template <class T> class TLinkedListIterator : public TIterator<T>
{
public:
    explicit TLinkedListIterator(TLinkedList<T>* walked) : list(walked), node(walked->head) {}

    bool isDone() override { return node == nullptr; }

    T& next() override
    {
        if (!node) return list->empty();
        T& value = node->value;
        node = node->next;
        return value;
    }

    T& previous() override
    {
        if (!node) return list->empty();
        T& value = node->value;
        // Singly linked: the node before is found by walking from the head; from the first
        // node there is none, and the iterator is done.
        typename TLinkedList<T>::Node* before = nullptr;
        for (typename TLinkedList<T>::Node* walk = list->head; walk && walk != node; walk = walk->next)
            before = walk;
        node = before;
        return value;
    }

    T& current() override { return node ? node->value : list->empty(); }
    void first() override { node = list->head; }
    void last() override { node = list->tail; }

protected:
    TLinkedList<T>* list;
    typename TLinkedList<T>::Node* node;
};

template <class T> class TArrayIterator : public TIterator<T>
{
public:
    explicit TArrayIterator(TArrayBase<T>* walked) : array(walked), index(0) {}

    bool isDone() override { return index < 0 || index >= array->count; }

    T& next() override
    {
        if (isDone()) return array->empty();
        return array->elements[index++];
    }

    T& previous() override
    {
        if (isDone()) return array->empty();
        return array->elements[index--];
    }

    T& current() override { return isDone() ? array->empty() : array->elements[index]; }
    void first() override { index = 0; }
    void last() override { index = array->count - 1; }

protected:
    TArrayBase<T>* array;
    int32_t index;
};
