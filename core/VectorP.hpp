#pragma once
// The program's growable arrays. VectorP owns the objects it points to (they die with it);
// VectorI holds values. Both stop the program on an index outside the array instead of reading
// past it.

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "core/messages.hpp"

namespace pixtrail {

template <typename T>
class VectorP {
 public:
  VectorP() = default;
  VectorP(VectorP&&) noexcept = default;
  VectorP& operator=(VectorP&&) noexcept = default;
  VectorP(const VectorP&) = delete;
  VectorP& operator=(const VectorP&) = delete;

  std::size_t size() const { return items_.size(); }
  bool empty() const { return items_.empty(); }
  void reserve(std::size_t n) { items_.reserve(n); }

  T& operator[](std::size_t i) { return *items_[checked(i)]; }
  const T& operator[](std::size_t i) const { return *items_[checked(i)]; }
  T& back() { return (*this)[size() - 1]; }
  const T& back() const { return (*this)[size() - 1]; }

  T& add(std::unique_ptr<T> item) {
    if (!item) fatalError("VectorP: null object");
    items_.push_back(std::move(item));
    return *items_.back();
  }
  template <typename... Args>
  T& emplace(Args&&... args) {
    return add(std::make_unique<T>(std::forward<Args>(args)...));
  }
  void insert(std::size_t i, std::unique_ptr<T> item) {
    if (i > items_.size() || !item) fatalError("VectorP: bad insert");
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(i), std::move(item));
  }
  // Removes and returns the object, handing its ownership to the caller.
  std::unique_ptr<T> release(std::size_t i) {
    std::unique_ptr<T> item = std::move(items_[checked(i)]);
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
    return item;
  }
  void erase(std::size_t i) { release(i); }
  void clear() { items_.clear(); }

  // Iteration yields the objects, not the owning pointers.
  template <typename Ptr, typename Ref>
  class Iter {
   public:
    using Base = std::conditional_t<std::is_const_v<std::remove_reference_t<Ref>>,
                                    typename std::vector<Ptr>::const_iterator,
                                    typename std::vector<Ptr>::iterator>;
    explicit Iter(Base it) : it_(it) {}
    Ref operator*() const { return **it_; }
    auto operator->() const { return it_->get(); }
    Iter& operator++() {
      ++it_;
      return *this;
    }
    bool operator==(const Iter& o) const { return it_ == o.it_; }

   private:
    Base it_;
  };
  using iterator = Iter<std::unique_ptr<T>, T&>;
  using const_iterator = Iter<std::unique_ptr<T>, const T&>;
  iterator begin() { return iterator(items_.begin()); }
  iterator end() { return iterator(items_.end()); }
  const_iterator begin() const { return const_iterator(items_.cbegin()); }
  const_iterator end() const { return const_iterator(items_.cend()); }

 private:
  std::size_t checked(std::size_t i) const {
    if (i >= items_.size()) fatalError("VectorP: index out of range");
    return i;
  }
  std::vector<std::unique_ptr<T>> items_;
};

template <typename T>
class VectorI {
 public:
  VectorI() = default;
  VectorI(std::initializer_list<T> init) : items_(init) {}

  std::size_t size() const { return items_.size(); }
  bool empty() const { return items_.empty(); }
  void reserve(std::size_t n) { items_.reserve(n); }
  T& operator[](std::size_t i) { return items_[checked(i)]; }
  const T& operator[](std::size_t i) const { return items_[checked(i)]; }
  void add(const T& value) { items_.push_back(value); }
  void erase(std::size_t i) { items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(checked(i))); }
  void clear() { items_.clear(); }
  auto begin() { return items_.begin(); }
  auto end() { return items_.end(); }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }
  const std::vector<T>& values() const { return items_; }

 private:
  std::size_t checked(std::size_t i) const {
    if (i >= items_.size()) fatalError("VectorI: index out of range");
    return i;
  }
  std::vector<T> items_;
};

}  // namespace pixtrail
