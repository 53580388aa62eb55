// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

'use strict';

// Marks the current page in the list of pages, and lists its sections there.
function showWhereWeAre() {
    const file = location.pathname.split('/').pop() || 'index.html';
    const link = document.querySelector(`#pages a[href="${file}"]`);
    if (!link) {
        return;
    }
    link.setAttribute('aria-current', 'page');
    const list = document.createElement('ul');
    for (const heading of document.querySelectorAll('div.textblock > h1, h2.groupheader')) {
        const anchor = heading.querySelector('a[id]') || heading.previousElementSibling;
        if (anchor && anchor.id) {
            list.append(document.createElement('li'));
            list.lastChild.append(makeLink('#' + anchor.id, heading.textContent.trim()));
        }
    }
    if (list.children.length > 1) {
        link.after(list);
    }
    link.scrollIntoView({ block: 'nearest' });
}

function makeLink(address, ...content) {
    const link = document.createElement('a');
    link.href = address;
    link.append(...content);
    return link;
}

// How well an entry fits: 0 is best, null is not at all. Every word must be in it.
function rank(entry, query) {
    const title = entry.title.toLowerCase();
    const text = title + ' ' + entry.text.toLowerCase();
    const words = query.split(/\s+/);
    if (!words.every(word => text.includes(word))) {
        return null;
    }
    const place = title.replace(/^.*::/, '').indexOf(query);
    if (place < 0) {
        return words.every(word => title.includes(word)) ? 4 : 5;
    }
    // A page before what is in it.
    return (place === 0 ? 0 : 2) + (entry.address.includes('#') ? 1 : 0);
}

// The part of the text around the first word that was found, in whole words.
function excerpt(text, query) {
    const place = text.toLowerCase().indexOf(query.split(/\s+/)[0]);
    const begin = place < 60 ? 0 : text.lastIndexOf(' ', place - 30) + 1;
    const end = text.length < begin + 120 ? text.length : text.lastIndexOf(' ', begin + 120);
    return (begin ? '… ' : '') + text.substring(begin, end) + (end < text.length ? ' …' : '');
}

function show(query, list) {
    const found = searchIndex
        .map(entry => ({ entry, rank: rank(entry, query) }))
        .filter(each => each.rank !== null)
        .sort((one, other) => one.rank - other.rank)
        .slice(0, 40);
    list.replaceChildren(...found.map(({ entry }) => {
        const title = document.createElement('b');
        title.textContent = entry.title;
        const text = document.createElement('span');
        text.textContent = excerpt(entry.text, query);
        const where = entry.page === entry.title ? '' : ' ' + entry.page;
        const item = document.createElement('li');
        item.append(makeLink(entry.address, title, where, text));
        return item;
    }));
    if (!found.length) {
        list.append(document.createElement('li'));
        list.lastChild.textContent = 'Nothing found';
    }
}

function prepareSearch() {
    const form = document.getElementById('search');
    const field = document.getElementById('query');
    const list = document.getElementById('results');
    const search = () => {
        const query = field.value.trim().toLowerCase();
        list.hidden = query === '';
        if (query && typeof searchIndex !== 'undefined') {
            show(query, list);
        }
    };
    // The index is a script, because pages that are read from files may load nothing else.
    field.addEventListener('focus', () => {
        const index = document.createElement('script');
        index.src = 'search/index.js';
        index.onload = search;
        document.head.append(index);
    }, { once: true });
    field.addEventListener('input', search);
    form.addEventListener('submit', event => {
        event.preventDefault();
        const first = list.querySelector('a');
        if (first) {
            first.click();
        }
    });
    form.addEventListener('keydown', event => {
        const stops = [field, ...list.querySelectorAll('a')];
        const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
        if (step) {
            event.preventDefault();
            const next = stops[stops.indexOf(document.activeElement) + step];
            if (next) {
                next.focus();
            }
        } else if (event.key === 'Escape') {
            field.focus();
            list.hidden = true;
        }
    });
    document.addEventListener('click', event => {
        if (!form.contains(event.target) || event.target.closest('#results a')) {
            list.hidden = true;
        }
    });
}

showWhereWeAre();
prepareSearch();
