<?xml version="1.0" encoding="UTF-8"?>
<!--
  SPDX-FileCopyrightText: 2026 The libostrel authors
  SPDX-License-Identifier: LGPL-2.1-or-later
-->
<!-- Prints what the search can find in one HTML page: the page, its sections, and the members of
     its class, each with its text. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:str="http://exslt.org/strings" exclude-result-prefixes="str">
  <xsl:output method="text" encoding="UTF-8"/>

  <!-- The name of the file. -->
  <xsl:param name="file"/>

  <!-- "Ostrel::Error Class Reference" is found as "Ostrel::Error". -->
  <xsl:variable name="heading" select="normalize-space(//div[@class = 'title'])"/>
  <xsl:variable name="page">
    <xsl:choose>
      <xsl:when test="contains($heading, ' Reference')">
        <xsl:value-of select="substring-before($heading, ' ')"/>
      </xsl:when>
      <xsl:otherwise><xsl:value-of select="$heading"/></xsl:otherwise>
    </xsl:choose>
  </xsl:variable>

  <!-- What follows a heading, up to the next one. -->
  <xsl:key name="section"
           match="div[@class = 'textblock']//*[not(self::h1 or self::h2 or self::h3)]"
           use="generate-id(preceding-sibling::*[self::h1 or self::h2 or self::h3][1])"/>

  <xsl:template match="/">
    <xsl:call-template name="entry">
      <xsl:with-param name="title" select="$page"/>
      <xsl:with-param name="text" select="//div[@class = 'textblock']/*
                                          [not(self::h1 or preceding-sibling::h1)]"/>
    </xsl:call-template>
    <xsl:for-each select="//div[@class = 'textblock']//*[self::h1 or self::h2 or self::h3]">
      <xsl:call-template name="entry">
        <xsl:with-param name="title" select="."/>
        <xsl:with-param name="anchor" select="concat(@id, a/@id)"/>
        <xsl:with-param name="text" select="key('section', generate-id())"/>
      </xsl:call-template>
    </xsl:for-each>
    <!-- members with a description of their own, members in a table, values of enumerations -->
    <xsl:for-each select="//h2[@class = 'memtitle']">
      <xsl:call-template name="entry">
        <xsl:with-param name="title" select="text()"/>
        <xsl:with-param name="anchor" select="preceding-sibling::a[1]/@id"/>
        <xsl:with-param name="text" select="following-sibling::div[1]/div[@class = 'memdoc']"/>
      </xsl:call-template>
    </xsl:for-each>
    <xsl:for-each select="//td[@class = 'memItemLeft'][a/@id]">
      <xsl:call-template name="entry">
        <xsl:with-param name="title" select="following-sibling::td/b"/>
        <xsl:with-param name="anchor" select="a/@id"/>
        <xsl:with-param name="text" select="../following-sibling::tr[1]/td[@class = 'mdescRight']"/>
      </xsl:call-template>
    </xsl:for-each>
    <xsl:for-each select="//td[@class = 'fieldname']">
      <xsl:call-template name="entry">
        <xsl:with-param name="title" select="."/>
        <xsl:with-param name="anchor" select="a/@id"/>
        <xsl:with-param name="text" select="following-sibling::td"/>
      </xsl:call-template>
    </xsl:for-each>
  </xsl:template>

  <xsl:template name="entry">
    <xsl:param name="title"/>
    <xsl:param name="anchor"/>
    <xsl:param name="text"/>
    <xsl:variable name="words"><xsl:apply-templates select="$text" mode="words"/></xsl:variable>
    <xsl:text>{"title":</xsl:text>
    <xsl:call-template name="quote">
      <xsl:with-param name="string" select="$title"/>
    </xsl:call-template>
    <xsl:text>,"page":</xsl:text>
    <xsl:call-template name="quote">
      <xsl:with-param name="string" select="$page"/>
    </xsl:call-template>
    <xsl:text>,"address":"</xsl:text>
    <xsl:value-of select="$file"/>
    <xsl:if test="$anchor"><xsl:value-of select="concat('#', $anchor)"/></xsl:if>
    <xsl:text>","text":</xsl:text>
    <xsl:call-template name="quote">
      <xsl:with-param name="string" select="$words"/>
    </xsl:call-template>
    <xsl:text>},&#10;</xsl:text>
  </xsl:template>

  <xsl:template name="quote">
    <xsl:param name="string"/>
    <xsl:variable name="plain" select="normalize-space(translate($string, '&#160;', ' '))"/>
    <xsl:variable name="escaped"
                  select="str:replace(str:replace($plain, '\', '\\'), '&quot;', '\&quot;')"/>
    <xsl:value-of select="concat('&quot;', $escaped, '&quot;')"/>
  </xsl:template>

  <!-- A blank between two blocks. -->
  <xsl:template match="div | p | li | dt | dd | th | td" mode="words">
    <xsl:apply-templates mode="words"/>
    <xsl:text> </xsl:text>
  </xsl:template>
  <!-- What Doxygen shows when the pointer is over a name in code. -->
  <xsl:template match="div[@class = 'ttc']" mode="words"/>
</xsl:stylesheet>
