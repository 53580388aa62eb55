<?xml version="1.0" encoding="UTF-8"?>
<!--
  SPDX-FileCopyrightText: 2026 The libostrel authors
  SPDX-License-Identifier: LGPL-2.1-or-later
-->
<!-- Turns the introspection XML of one interface into a piece of HTML. A comment describes the
     element after it. In a comment, a line that begins with the name of an argument, or with a
     quoted key and its type, begins an item of a list. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:str="http://exslt.org/strings" exclude-result-prefixes="str">
  <xsl:output method="html" encoding="UTF-8" indent="no"/>

  <!-- An interface is called by the last element of its name. -->
  <xsl:variable name="short"
                select="str:tokenize(/node/interface/@name, '.')[last()]"/>

  <xsl:template match="/">
    <xsl:apply-templates select="node/interface"/>
  </xsl:template>

  <xsl:template match="interface">
    <div class="interface">
      <p><code><xsl:value-of select="@name"/></code></p>
      <xsl:call-template name="comment"/>
      <xsl:apply-templates select="method | signal | property"/>
    </div>
  </xsl:template>

  <xsl:template match="method | signal | property">
    <h2 id="{$short}.{@name}" class="member">
      <xsl:value-of select="concat(local-name(), ' ')"/>
      <code>
        <xsl:value-of select="@name"/>
        <xsl:apply-templates select="." mode="signature"/>
      </code>
    </h2>
    <xsl:call-template name="comment"/>
    <xsl:if test="arg">
      <table class="markdownTable">
        <tr><th>argument</th><th>type</th><th>direction</th></tr>
        <xsl:for-each select="arg">
          <tr>
            <td><code><xsl:value-of select="@name"/></code></td>
            <td><code><xsl:value-of select="@type"/></code></td>
            <td>
              <xsl:choose>
                <xsl:when test="@direction = 'in'">to the service</xsl:when>
                <xsl:otherwise>from the service</xsl:otherwise>
              </xsl:choose>
            </td>
          </tr>
        </xsl:for-each>
      </table>
    </xsl:if>
  </xsl:template>

  <xsl:template match="method" mode="signature">
    <xsl:text>(</xsl:text>
    <xsl:for-each select="arg[@direction = 'in']"><xsl:value-of select="@type"/></xsl:for-each>
    <xsl:text>) → (</xsl:text>
    <xsl:for-each select="arg[@direction = 'out']"><xsl:value-of select="@type"/></xsl:for-each>
    <xsl:text>)</xsl:text>
  </xsl:template>

  <xsl:template match="signal" mode="signature">
    <xsl:text>(</xsl:text>
    <xsl:for-each select="arg"><xsl:value-of select="@type"/></xsl:for-each>
    <xsl:text>)</xsl:text>
  </xsl:template>

  <xsl:template match="property" mode="signature">
    <xsl:value-of select="concat(' ', @type, ', ', @access)"/>
  </xsl:template>

  <!-- The comment right before the current element, paragraph by paragraph. -->
  <xsl:template name="comment">
    <xsl:variable name="element" select="."/>
    <xsl:variable name="comment"
                  select="preceding-sibling::comment()[generate-id(following-sibling::*[1])
                                                       = generate-id($element)][last()]"/>
    <xsl:for-each select="str:split(string($comment), '&#10;&#10;')">
      <xsl:call-template name="paragraph">
        <xsl:with-param name="text" select="string(.)"/>
        <xsl:with-param name="names" select="$element/arg/@name"/>
      </xsl:call-template>
    </xsl:for-each>
  </xsl:template>

  <xsl:template name="paragraph">
    <xsl:param name="text"/>
    <xsl:param name="names"/>
    <!-- "¶" before each line that begins an item. str:split() drops empty parts; the blank keeps the
         first one. -->
    <xsl:variable name="marked">
      <xsl:text> </xsl:text>
      <xsl:for-each select="str:tokenize($text, '&#10;')">
        <xsl:variable name="line" select="normalize-space(.)"/>
        <xsl:variable name="first"
                      select="substring-before(translate($line, ':,', '  '), ' ')"/>
        <xsl:if test="(contains($line, ':') and $names = $first)
                      or (starts-with($line, '&quot;') and contains($line, '): '))">
          <xsl:text>¶</xsl:text>
        </xsl:if>
        <xsl:value-of select="concat($line, ' ')"/>
      </xsl:for-each>
    </xsl:variable>
    <xsl:variable name="parts" select="str:split(string($marked), '¶')"/>
    <xsl:if test="normalize-space($parts[1])">
      <p><xsl:value-of select="normalize-space($parts[1])"/></p>
    </xsl:if>
    <xsl:if test="$parts[2]">
      <ul>
        <xsl:for-each select="$parts[position() > 1]">
          <li><xsl:value-of select="normalize-space(.)"/></li>
        </xsl:for-each>
      </ul>
    </xsl:if>
  </xsl:template>
</xsl:stylesheet>
