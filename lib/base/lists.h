// SPDX-License-Identifier: MIT
/// \file
/// The list that holds every kind of record: circular, doubly linked through a link inside the
/// record, with a sentinel for its head. A record type has its link as the last field, named
/// `link`, and a record owns what is in its own lists.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <type_traits>

namespace zav {

struct ListLink {
    ListLink* next = this;
    ListLink* previous = this;

    ListLink() = default;
    // A copied record is in no list.
    ListLink(const ListLink&) : ListLink() {}
    // cppcheck-suppress operatorEqVarError
    ListLink& operator=(const ListLink&) { return *this; }

    void insert_before(ListLink& other) {
        next = &other;
        previous = other.previous;
        previous->next = this;
        other.previous = this;
    }
    void unlink() {
        previous->next = next;
        next->previous = previous;
        next = previous = this;
    }
};

/// A list that owns its records. Records are added at the end and read from the front.
template <class Record>
class RecordList {
    template <class Value>
    class Iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Record;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        Iterator() = default;
        explicit Iterator(ListLink* at) : at_(at) {}
        reference operator*() const { return record_of(*at_); }
        pointer operator->() const { return &record_of(*at_); }
        Iterator& operator++() {
            at_ = at_->next;
            return *this;
        }
        Iterator operator++(int) {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator&) const = default;

      private:
        ListLink* at_ = nullptr;
    };

  public:
    using iterator = Iterator<Record>;
    using const_iterator = Iterator<const Record>;

    RecordList() = default;
    RecordList(const RecordList&) = delete;
    RecordList& operator=(const RecordList&) = delete;
    ~RecordList() { clear(); }

    /// A new record at the end; the list owns it.
    Record& append(std::unique_ptr<Record> record = std::make_unique<Record>()) {
        Record* added = record.release();
        added->link.insert_before(head_);
        return *added;
    }

    /// Destroys one record of the list, and with it its own lists.
    void remove(Record& record) {
        record.link.unlink();
        const std::unique_ptr<Record> removed(&record);
    }

    /// Destroys every record, and with each its own lists.
    void clear() {
        while (!empty()) {
            const std::unique_ptr<Record> first(&record_of(*head_.next));
            first->link.unlink();
        }
    }

    [[nodiscard]] bool empty() const { return head_.next == &head_; }
    [[nodiscard]] std::size_t size() const {
        return static_cast<std::size_t>(std::distance(begin(), end()));
    }
    iterator begin() { return iterator(head_.next); }
    iterator end() { return iterator(&head_); }
    [[nodiscard]] const_iterator begin() const { return const_iterator(head_.next); }
    [[nodiscard]] const_iterator end() const { return const_iterator(&head_); }

  private:
    /// A record is found from its link by a fixed distance.
    static Record& record_of(ListLink& link) {
        static_assert(std::is_standard_layout_v<Record>);
        void* record = reinterpret_cast<char*>(&link) - offsetof(Record, link);
        return *static_cast<Record*>(record);
    }

    // Even a list that is only read hands out the links of its records.
    mutable ListLink head_;
};

/// The generic element: a link and a pointer to data kept elsewhere, which it owns. The pointer is
/// a plain one because a record of the list has to be of standard layout.
template <class Data>
struct Boxed {
    explicit Boxed(std::unique_ptr<Data> owned = nullptr) : data(owned.release()) {}
    Boxed(const Boxed&) = delete;
    Boxed& operator=(const Boxed&) = delete;
    ~Boxed() { delete data; }

    Data* data;
    ListLink link;
};

} // namespace zav
